#include <quorvex/ALCFilter.h>

#include <cmath>
#include <cstdint>
#include <cstring>

#include "effects/common/StereoFrames.h"
#include "framework/ParamBlock.h"

using paramblock::fieldAt;
using paramblock::putField;

namespace {

constexpr uint32_t kMagic = 0x6D414C31;  // mAL1
constexpr paramblock::BlockLayout kBlock = {0x70414C43, kMagic, 20, 20};  // pALC

constexpr int kOffEnabled = 4;
constexpr int kOffFlag = 5;
constexpr int kOffMode = 8;
constexpr int kOffRecovery = 12;

constexpr int kModePerSample = 1;
constexpr int kModeLinked = 2;
constexpr double kDefaultRecovery = 0.01 / 65536.0;

// The fields after the magic, which the shared screening has checked.
bool hasValidFields(const unsigned char* block) {
    const int32_t mode = fieldAt<int32_t>(block, kOffMode);
    if (mode != kModePerSample && mode != kModeLinked) return false;
    const double recovery = fieldAt<double>(block, kOffRecovery);
    return recovery >= 0.0 && recovery <= 1.0;  // false for NaN
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
    putField<uint32_t>(params, 0, kMagic);
    params[kOffEnabled] = 1;
    params[kOffFlag] = 0;
    putField<int32_t>(params, kOffMode, kModeLinked);
    putField<double>(params, kOffRecovery, kDefaultRecovery);
}

ALCFilter::~ALCFilter() = default;

const char* ALCFilter::getName() { return "ALC"; }

int ALCFilter::setParamData(unsigned long id, const void* block, int size) {
    int answer;
    const unsigned char* bytes = paramblock::screenBlock(kBlock, id, block, size, &answer);
    if (bytes == nullptr) return answer;
    if (!hasValidFields(bytes)) return -1;
    std::memcpy(params, bytes, sizeof params);
    putField<uint32_t>(params, 0, kMagic);
    gain = 1.0;
    return kBlock.size;
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

    if (params[kOffEnabled] == 0) {
        effects::copyFrames(*in, *out);
    } else if (fieldAt<int32_t>(params, kOffMode) == kModeLinked) {
        const int frames = n / 2;
        for (int f = 0; f < frames; ++f)
            ALC_doALC(x[2 * f], x[2 * f + 1], &y[2 * f], &y[2 * f + 1], &gain);
        // Recovery is not capped: a gain just below 1.0 may overshoot for one
        // block and is pinned back to 1.0 at the end of the next.
        if (gain >= 1.0)
            gain = 1.0;
        else
            gain = gain + static_cast<double>(n) * fieldAt<double>(params, kOffRecovery);
    } else {
        for (int i = 0; i < n; ++i) {
            limitGainFor(x[i], &gain);
            y[i] = x[i] * gain;
        }
    }

    effects::finishBlock(*in, *out);
    return 0;
}
