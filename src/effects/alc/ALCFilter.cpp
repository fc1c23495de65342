#include <quorvex/ALCFilter.h>

#include <quorvex/ParamBlocks.h>

#include <cmath>
#include <cstdint>
#include <cstring>

#include "effects/common/StereoFrames.h"
#include "framework/ParamBlock.h"

using paramblock::fieldAt;
using paramblock::putField;

namespace {

namespace layout = quorvex::alc_block;

constexpr paramblock::BlockLayout kBlock = {layout::kId, layout::kMagic, layout::kSize,
                                            layout::kSize};

// The fields after the magic, which the shared screening has checked.
bool hasValidFields(const unsigned char* block) {
    const int32_t mode = fieldAt<int32_t>(block, layout::kMode);
    if (mode != layout::kModeSample && mode != layout::kModeLinked) return false;
    const double recovery = fieldAt<double>(block, layout::kRecovery);
    // False for NaN.
    return recovery >= layout::kRecoveryMin && recovery <= layout::kRecoveryMax;
}

// Lowers `gain` to the value that brings `x` exactly to full scale, if that is
// lower than the gain already in force.
inline void limitGainFor(double x, double* gain) {
    if (x * x > 1.0) {
        const double g = 1.0 / std::fabs(x);
        if (g < *gain) *gain = g;
    }
}

}  // namespace

void ALC_doALC(double left, double right, double* outLeft, double* outRight, double* gain) {
    limitGainFor(left, gain);
    limitGainFor(right, gain);
    *outLeft = left * *gain;
    *outRight = right * *gain;
}

ALCFilter::ALCFilter() : params{}, gain(1.0) {
    putField<uint32_t>(params, quorvex::kMagicOffset, layout::kMagic);
    params[layout::kEnabled] = 1;
    params[layout::kFlag] = 0;
    putField<int32_t>(params, layout::kMode, layout::kModeLinked);
    putField<double>(params, layout::kRecovery, layout::kDefaultRecovery);
}

ALCFilter::~ALCFilter() = default;

const char* ALCFilter::getName() { return "ALC"; }

int ALCFilter::setParamData(unsigned long id, const void* block, int size) {
    return paramblock::acceptBlock(
        kBlock, id, block, size, hasValidFields, [this](const unsigned char* bytes) {
            std::memcpy(params, bytes, sizeof params);
            putField<uint32_t>(params, quorvex::kMagicOffset, layout::kMagic);
            gain = 1.0;
        });
}

int ALCFilter::getParamData(unsigned long id, void* block, int size) {
    return paramblock::copyBlockOut(kBlock, id, block, size, params);
}

void ALCFilter::reset() { gain = 1.0; }

int ALCFilter::process(const RealAudioBuffer* in, RealAudioBuffer* out) {
    const int n = in->length;
    if (n > out->capacity) return -1;
    const double* x = in->data;
    double* y = out->data;

    if (params[layout::kEnabled] == 0) {
        effects::copyFrames(*in, *out);
    } else if (fieldAt<int32_t>(params, layout::kMode) == layout::kModeLinked) {
        const int frames = n / 2;
        for (int f = 0; f < frames; ++f)
            ALC_doALC(x[2 * f], x[2 * f + 1], &y[2 * f], &y[2 * f + 1], &gain);
        // Recovery is not capped: a gain just below 1.0 may overshoot for one
        // block and is pinned back to 1.0 at the end of the next.
        if (gain >= 1.0)
            gain = 1.0;
        else
            gain = gain + static_cast<double>(n) * fieldAt<double>(params, layout::kRecovery);
    } else {
        for (int i = 0; i < n; ++i) {
            limitGainFor(x[i], &gain);
            y[i] = x[i] * gain;
        }
    }

    effects::finishBlock(*in, *out);
    return 0;
}
