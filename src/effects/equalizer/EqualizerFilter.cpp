#include <quorvex/EqualizerFilter.h>

#include <cstdint>
#include <cstring>

#include <quorvex/ParamBlocks.h>

#include "dsp/Section.h"
#include "dsp/StereoLanes.h"
#include "effects/common/StereoFrames.h"
#include "effects/equalizer/EqualizerTables.h"
#include "effects/equalizer/SectionPipeline.h"
#include "framework/KernelChoice.h"
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

using effects::LaneHistory;

// The selected section of one band.
dsp::SectionCoeffs bandSection(const double* feedback, const double* feedForward, int band) {
    const int at = band * kBandStride + c[band];
    return {feedForward[at], feedForward[at + kSteps], feedForward[at + 2 * kSteps],
            feedback[at + kSteps], feedback[at + 2 * kSteps]};
}

// Both channels, in the lanes, through the selected section of each band in
// turn.
template <int Sections>
inline void runBands(const double* feedback, const double* feedForward, LaneHistory* history,
                     double left, double right, double* outLeft, double* outRight) {
    dsp::StereoLanes x = {left, right};
    for (int band = 0; band < Sections; ++band)
        x = dsp::runSection(bandSection(feedback, feedForward, band), history[band], x);
    *outLeft = x[0];
    *outRight = x[1];
}

// Each rate's histories, shared by its per-frame kernel and the filter.
LaneHistory sHistory44k[kLowRateBands];
LaneHistory sHistory48k[kLowRateBands];
LaneHistory sHistory88k[kBands];
LaneHistory sHistory96k[kBands];

template <int Sections, int SectionsPerVector>
QUORVEX_KERNEL_INLINE void pipelineFrames(const dsp::SectionCoeffs* coeffs, LaneHistory* history,
                                          const double* x, double* y, int frames) {
    effects::SectionPipeline<Sections, SectionsPerVector>(coeffs, history).run(x, y, frames);
}

#ifdef QUORVEX_WIDE_KERNELS
const bool kWideSections = framework::wideKernelsRun();

template <int Sections>
QUORVEX_WIDE_TARGET void pipelineFramesWide(const dsp::SectionCoeffs* coeffs, LaneHistory* history,
                                            const double* x, double* y, int frames) {
    pipelineFrames<Sections, 2>(coeffs, history, x, y, frames);
}
#endif

template <int Sections>
void pipelineFramesPlain(const dsp::SectionCoeffs* coeffs, LaneHistory* history, const double* x,
                         double* y, int frames) {
    pipelineFrames<Sections, 1>(coeffs, history, x, y, frames);
}

// A block through the selected sections of one rate, in the widest build the
// processor takes. An unpaired last double passes through.
template <int Sections>
void runBlock(const double* feedback, const double* feedForward, LaneHistory* history,
              const RealAudioBuffer& in, RealAudioBuffer& out) {
    dsp::SectionCoeffs coeffs[Sections];
    for (int band = 0; band < Sections; ++band)
        coeffs[band] = bandSection(feedback, feedForward, band);
    const int frames = in.length / 2;
#ifdef QUORVEX_WIDE_KERNELS
    if (kWideSections)
        pipelineFramesWide<Sections>(coeffs, history, in.data, out.data, frames);
    else
#endif
        pipelineFramesPlain<Sections>(coeffs, history, in.data, out.data, frames);
    if (in.length > 2 * frames) out.data[2 * frames] = in.data[2 * frames];
}

}  // namespace

void equalizer_44k(double left, double right, double* outLeft, double* outRight) {
    runBands<kLowRateBands>(gEQ_Coeff44k_A, gEQ_Coeff44k_B, sHistory44k, left, right, outLeft,
                            outRight);
}

void equalizer_48k(double left, double right, double* outLeft, double* outRight) {
    runBands<kLowRateBands>(gEQ_Coeff48k_A, gEQ_Coeff48k_B, sHistory48k, left, right, outLeft,
                            outRight);
}

void equalizer_88k(double left, double right, double* outLeft, double* outRight) {
    runBands<kBands>(gEQ_Coeff88k_A, gEQ_Coeff88k_B, sHistory88k, left, right, outLeft, outRight);
}

void equalizer_96k(double left, double right, double* outLeft, double* outRight) {
    runBands<kBands>(gEQ_Coeff96k_A, gEQ_Coeff96k_B, sHistory96k, left, right, outLeft, outRight);
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
            case 44100:
                runBlock<kLowRateBands>(gEQ_Coeff44k_A, gEQ_Coeff44k_B, sHistory44k, *in, *out);
                break;
            case 48000:
                runBlock<kLowRateBands>(gEQ_Coeff48k_A, gEQ_Coeff48k_B, sHistory48k, *in, *out);
                break;
            case 88200:
                runBlock<kBands>(gEQ_Coeff88k_A, gEQ_Coeff88k_B, sHistory88k, *in, *out);
                break;
            case 96000:
                runBlock<kBands>(gEQ_Coeff96k_A, gEQ_Coeff96k_B, sHistory96k, *in, *out);
                break;
            default: effects::copyFrames(*in, *out); break;  // no tables for this rate
        }
    }
    effects::finishBlock(*in, *out);
    return 0;
}
