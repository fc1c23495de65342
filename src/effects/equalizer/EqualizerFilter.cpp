#include <quorvex/EqualizerFilter.h>

#include <cstdint>
#include <cstring>

#include "framework/ParamBlock.h"
#include "effects/common/StereoFrames.h"
#include "effects/equalizer/EqualizerTables.h"

using paramblock::fieldAt;
using paramblock::putField;

namespace {

// pEUQ / mEp2; the block's trailing three padding bytes are never touched.
constexpr paramblock::BlockLayout kBlock = {0x70455551, 0x6D457032, 92, 89};

constexpr int kOffEnabled = 4;
constexpr int kOffGain = 8;

constexpr int kBands = 10;
constexpr int kLowRateBands = 7;
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
    const int index = static_cast<int>(gain * 12.0 + 12.0);
    if (index < 0) return 0;
    if (index > 2 * kFlatIndex) return 2 * kFlatIndex;
    return index;
}

struct Coefficients {
    double b0, b1, b2, a1, a2;
};

// One sample through a section whose history is d[0] (one frame ago) and
// d[1] (two frames ago); the feedback coefficients are added.
inline double runSection(double x, const Coefficients& k, double* d) {
    const double w = x + (k.a1 * d[0] + k.a2 * d[1]);
    const double y = k.b0 * w + (k.b1 * d[0] + k.b2 * d[1]);
    d[1] = d[0];
    d[0] = w;
    return y;
}

// Both channels through the selected section of each band in turn; dl and
// dr hold two doubles per band.
template <int Sections>
inline void runCascade(const double* feedback, const double* feedForward, double* dl, double* dr,
                       double left, double right, double* outLeft, double* outRight) {
    for (int band = 0; band < Sections; ++band) {
        const int at = band * kBandStride + c[band];
        const Coefficients k{feedForward[at], feedForward[at + kSteps], feedForward[at + 2 * kSteps],
                             feedback[at + kSteps], feedback[at + 2 * kSteps]};
        left = runSection(left, k, &dl[2 * band]);
        right = runSection(right, k, &dr[2 * band]);
    }
    *outLeft = left;
    *outRight = right;
}

}  // namespace

void equalizer_44k(double left, double right, double* outLeft, double* outRight) {
    static double dl[2 * kLowRateBands];
    static double dr[2 * kLowRateBands];
    runCascade<kLowRateBands>(gEQ_Coeff44k_A, gEQ_Coeff44k_B, dl, dr, left, right, outLeft,
                              outRight);
}

void equalizer_48k(double left, double right, double* outLeft, double* outRight) {
    static double dl[2 * kLowRateBands];
    static double dr[2 * kLowRateBands];
    runCascade<kLowRateBands>(gEQ_Coeff48k_A, gEQ_Coeff48k_B, dl, dr, left, right, outLeft,
                              outRight);
}

void equalizer_88k(double left, double right, double* outLeft, double* outRight) {
    static double dl[2 * kBands];
    static double dr[2 * kBands];
    runCascade<kBands>(gEQ_Coeff88k_A, gEQ_Coeff88k_B, dl, dr, left, right, outLeft, outRight);
}

void equalizer_96k(double left, double right, double* outLeft, double* outRight) {
    static double dl[2 * kBands];
    static double dr[2 * kBands];
    runCascade<kBands>(gEQ_Coeff96k_A, gEQ_Coeff96k_B, dl, dr, left, right, outLeft, outRight);
}

EqualizerFilter::EqualizerFilter() : params{} {
    putField<uint32_t>(params, 0, kBlock.magic);
    EqualizerFilter::reset();
}

EqualizerFilter::~EqualizerFilter() = default;

const char* EqualizerFilter::getName() { return "Equalizer"; }

int EqualizerFilter::setParamData(unsigned long id, const void* block, int size) {
    int answer;
    const unsigned char* bytes = paramblock::screenBlock(kBlock, id, block, size, &answer);
    if (bytes == nullptr) return answer;
    if (!paramblock::doublesWithin(bytes, kOffGain, kBands, 1.0)) return -1;
    std::memcpy(params, bytes, kBlock.storedBytes);
    reset();
    return kBlock.size;
}

int EqualizerFilter::getParamData(unsigned long id, void* block, int size) {
    return paramblock::copyBlockOut(kBlock, id, block, size, params);
}

void EqualizerFilter::reset() {
    for (int band = 0; band < kBands; ++band)
        c[band] = gainIndex(fieldAt<double>(params, kOffGain + 8 * band));
}

int EqualizerFilter::process(const RealAudioBuffer* in, RealAudioBuffer* out) {
    if (in->length > out->capacity) return -1;
    if (params[kOffEnabled] == 0) {
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
