#include <quorvex/EqualizerFilter.h>

#include <cstdint>
#include <cstring>

#include <quorvex/ParamBlocks.h>

#include "dsp/Section.h"
#include "dsp/StereoLanes.h"
#include "effects/common/StereoFrames.h"
#include "effects/equalizer/EqualizerTables.h"
#include "framework/ParamBlock.h"

using paramblock::fieldAt;
using paramblock::putField;

namespace {

namespace layout = quorvex::equalizer_block;

// The block's trailing three padding bytes are never touched.
constexpr paramblock::BlockLayout kBlock = {layout::kId, layout::kMagic, layout::kSize,
                                            layout::kStoredBytes};

constexpr int kBands = layout::kBands;
constexpr int kLowRateBands = layout::kLowRateBands;
constexpr int kSteps = 25;
constexpr int kFlatIndex = 12;
constexpr int kBandStride = 3 * kSteps;

// Gain index of each band, shared by every equalizer and all four kernels.
int c[kBands] = {kFlatIndex, kFlatIndex, kFlatIndex, kFlatIndex, kFlatIndex,
                 kFlatIndex, kFlatIndex, kFlatIndex, kFlatIndex, kFlatIndex};

static_assert(sizeof gEQ_Coeff44k_A / sizeof(double) == kLowRateBands * kBandStride, "");
static_assert(sizeof gEQ_Coeff48k_B / sizeof(double) == kLowRateBands * kBandStride, "");
static_assert(sizeof gEQ_Coeff88k_A / sizeof(double) == kBands * kBandStride, "");
static_assert(sizeof gEQ_Coeff96k_B / sizeof(double) == kBands * kBandStride, "");

// Gains are at least -1, so truncation rounds down to the 1 dB step below.
int gainIndex(double gain) {
    const int index = static_cast<int>(gain * layout::kDecibelsPerGain + kFlatIndex);
    if (index < 0) return 0;
    if (index > 2 * kFlatIndex) return 2 * kFlatIndex;
    return index;
}

using LaneHistory = dsp::SectionHistory<dsp::StereoLanes>;

// Both channels, in the lanes, through the selected section of each band in
// turn.
template <int Sections>
inline void runBands(const double* feedback, const double* feedForward, LaneHistory* history,
                     double left, double right, double* outLeft, double* outRight) {
    dsp::StereoLanes x = {left, right};
    for (int band = 0; band < Sections; ++band) {
        const int at = band * kBandStride + c[band];
        const dsp::SectionCoeffs k{feedForward[at], feedForward[at + kSteps],
                                   feedForward[at + 2 * kSteps], feedback[at + kSteps],
                                   feedback[at + 2 * kSteps]};
        x = dsp::runSection(k, history[band], x);
    }
    *outLeft = x[0];
    *outRight = x[1];
}

}  // namespace

void equalizer_44k(double left, double right, double* outLeft, double* outRight) {
    static LaneHistory history[kLowRateBands];
    runBands<kLowRateBands>(gEQ_Coeff44k_A, gEQ_Coeff44k_B, history, left, right, outLeft,
                            outRight);
}

void equalizer_48k(double left, double right, double* outLeft, double* outRight) {
    static LaneHistory history[kLowRateBands];
    runBands<kLowRateBands>(gEQ_Coeff48k_A, gEQ_Coeff48k_B, history, left, right, outLeft,
                            outRight);
}

void equalizer_88k(double left, double right, double* outLeft, double* outRight) {
    static LaneHistory history[kBands];
    runBands<kBands>(gEQ_Coeff88k_A, gEQ_Coeff88k_B, history, left, right, outLeft, outRight);
}

void equalizer_96k(double left, double right, double* outLeft, double* outRight) {
    static LaneHistory history[kBands];
    runBands<kBands>(gEQ_Coeff96k_A, gEQ_Coeff96k_B, history, left, right, outLeft, outRight);
}

EqualizerFilter::EqualizerFilter() : params{} {
    putField<uint32_t>(params, quorvex::kMagicOffset, kBlock.magic);
    EqualizerFilter::reset();
}

EqualizerFilter::~EqualizerFilter() = default;

const char* EqualizerFilter::getName() { return "Equalizer"; }

int EqualizerFilter::setParamData(unsigned long id, const void* block, int size) {
    return paramblock::acceptBlock(
        kBlock, id, block, size,
        [](const unsigned char* bytes) {
            return paramblock::doublesWithin(bytes, layout::kGain, kBands, layout::kGainMax);
        },
        [this](const unsigned char* bytes) {
            std::memcpy(params, bytes, kBlock.storedBytes);
            reset();
        });
}

int EqualizerFilter::getParamData(unsigned long id, void* block, int size) {
    return paramblock::copyBlockOut(kBlock, id, block, size, params);
}

void EqualizerFilter::reset() {
    for (int band = 0; band < kBands; ++band)
        c[band] = gainIndex(fieldAt<double>(params, layout::gainOffset(band)));
}

int EqualizerFilter::process(const RealAudioBuffer* in, RealAudioBuffer* out) {
    if (in->length > out->capacity) return -1;
    if (params[layout::kEnabled] == 0) {
        effects::copyFrames(*in, *out);
    } else {
        switch (in->sampleRate) {
            case 44100: effects::runFrames<equalizer_44k>(*in, *out); break;
            case 48000: effects::runFrames<equalizer_48k>(*in, *out); break;
            case 88200: effects::runFrames<equalizer_88k>(*in, *out); break;
            case 96000: effects::runFrames<equalizer_96k>(*in, *out); break;
            default: effects::copyFrames(*in, *out); break;  // no tables for this rate
        }
    }
    effects::finishBlock(*in, *out);
    return 0;
}
