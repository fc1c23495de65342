#include <quorvex/DownSamplingFilter.h>

#include <cstring>

#include "framework/KernelChoice.h"

namespace {

constexpr int kTaps = 65;

// Low-pass for 96 kHz: flat within 0.0002 to 18 kHz, 6 dB down at 22 kHz,
// at least 79 dB down from 26 kHz. Symmetric; the three trailing zeros pad
// the table and are never read.
constexpr double sDown96To48_hf[kTaps + 3] = {
    2.302312e-05,  3.675669e-05,  -7.91322e-05,  -0.000147914,  0.0001450547,  0.0003972371,
    -0.0001589228, -0.0008440471, -5.197946e-12, 0.00151406,    0.000514858,   -0.002357844,
    -0.001615473,  0.00320736,    0.003540357,   -0.003740803,  -0.006480126,  0.003463302,
    0.01051323,    -0.00170088,   -0.0155503,    -0.002417595,  0.02130462,    0.01006904,
    -0.02730245,   -0.02317793,   0.03293755,    0.04615452,    -0.03756345,   -0.09490857,
    0.04060521,    0.3144547,     0.4583291,     0.3144547,     0.04060521,    -0.09490857,
    -0.03756345,   0.04615452,    0.03293755,    -0.02317793,   -0.02730245,   0.01006904,
    0.02130462,    -0.002417595,  -0.0155503,    -0.00170088,   0.01051323,    0.003463302,
    -0.006480126,  -0.003740803,  0.003540357,   0.00320736,    -0.001615473,  -0.002357844,
    0.000514858,   0.00151406,    -5.197946e-12, -0.0008440471, -0.0001589228, 0.0003972371,
    0.0001450547,  -0.000147914,  -7.91322e-05,  3.675669e-05,  2.302312e-05,  0.0,
    0.0,           0.0,
};

constexpr int kHistory = kTaps - 1;

// The filter's whole state: the last kHistory input frames of each channel,
// oldest first, shared by every instance and never cleared. A transposed-form
// line of the same filter holds nothing these frames do not determine, and
// its output is the same nested sum: the oldest frame's product first, each
// newer one added in front, the current frame's last.
double sHistory[2][kHistory];

// Consecutive kept outputs of one channel, one per lane: four in the wide
// build, two in the plain one, whose registers are half as wide. `At` reads
// the same from any double in memory. (Member types, because a template
// argument would lose their alignment.)
struct WideLanes {
    typedef double V __attribute__((vector_size(32)));
    typedef double At __attribute__((vector_size(32), aligned(8), may_alias));
};
struct PlainLanes {
    typedef double V __attribute__((vector_size(16)));
    typedef double At __attribute__((vector_size(16), aligned(8), may_alias));
};
constexpr int kOutputsPerPass = 16;  // per channel: enough sums in flight to hide their latency

// The input in chunks: at most kChunkFrames frames (an even count, so frame 0
// of every chunk is kept), preceded by the kHistory frames before them.
constexpr int kChunkFrames = 512;
constexpr int kPhaseLength = (kHistory + kChunkFrames) / 2;

// A chunk and its history split by phase, per channel: `even` holds the
// frames an even distance from the chunk's start, `odd` the others, each
// oldest first. Kept output m then reads taps of one phase from consecutive
// places, and the outputs of a pass are lanes of one load. A last pass may
// read past the chunk; those lanes are never stored.
struct PhaseSplit {
    double even[2][kPhaseLength];
    double odd[2][kPhaseLength];
};

// Output m of one channel is frame 2m of the chunk: the taps, newest input
// first, are h[k] x[2m - k]; frame 2m - k sits at even[m + (kHistory - k) / 2]
// for even k and at odd[m + (kHistory - 1 - k) / 2] for odd k. Past the
// oldest tap they come in pairs, odd k before the even one below it.
template <typename Lanes>
QUORVEX_KERNEL_INLINE void filterPass(const double* even, const double* odd, int m,
                                      double (&out)[kOutputsPerPass]) {
    using V = typename Lanes::V;
    using VAt = typename Lanes::At;
    static_assert(alignof(VAt) == alignof(double), "");
    constexpr int kLanes = sizeof(V) / sizeof(double);
    constexpr int kVectors = kOutputsPerPass / kLanes;
    const double* h = sDown96To48_hf;
    V acc[kVectors];
#pragma GCC unroll 8
    for (int q = 0; q < kVectors; ++q)
        acc[q] = *reinterpret_cast<const VAt*>(even + m + kLanes * q) * h[kHistory];
    for (int i = 0; i < kHistory / 2; ++i) {
        const double* x = odd + m + i;
        const double hOdd = h[kHistory - 1 - 2 * i];
#pragma GCC unroll 8
        for (int q = 0; q < kVectors; ++q)
            acc[q] = *reinterpret_cast<const VAt*>(x + kLanes * q) * hOdd + acc[q];
        x = even + m + i + 1;
        const double hEven = h[kHistory - 2 - 2 * i];
#pragma GCC unroll 8
        for (int q = 0; q < kVectors; ++q)
            acc[q] = *reinterpret_cast<const VAt*>(x + kLanes * q) * hEven + acc[q];
    }
    std::memcpy(out, acc, sizeof out);
}

// The kept outputs of one chunk into `y`, stereo frames one after another;
// the right value of output `kept - 1` only if `lastRight`.
template <typename Lanes>
QUORVEX_KERNEL_INLINE void filterChunk(const PhaseSplit& split, int kept, bool lastRight,
                                       double* y) {
    for (int m = 0; m < kept; m += kOutputsPerPass) {
        double left[kOutputsPerPass];
        double right[kOutputsPerPass];
        filterPass<Lanes>(split.even[0], split.odd[0], m, left);
        filterPass<Lanes>(split.even[1], split.odd[1], m, right);
        const int count = kept - m < kOutputsPerPass ? kept - m : kOutputsPerPass;
        for (int i = 0; i < count; ++i) {
            y[2 * (m + i)] = left[i];
            if (m + i + 1 < kept || lastRight) y[2 * (m + i) + 1] = right[i];
        }
    }
}

#ifdef QUORVEX_WIDE_KERNELS
const bool kWideChunks = framework::wideKernelsRun();

QUORVEX_WIDE_TARGET void filterChunkWide(const PhaseSplit& split, int kept, bool lastRight,
                                         double* y) {
    filterChunk<WideLanes>(split, kept, lastRight, y);
}
#endif

void filterChunkPlain(const PhaseSplit& split, int kept, bool lastRight, double* y) {
    filterChunk<PlainLanes>(split, kept, lastRight, y);
}

// Where frame j of the chunk (negative j: the history) of channel c lies.
double& slot(PhaseSplit& split, int j, int c) {
    const int at = j + kHistory;
    return (at % 2 == 0 ? split.even : split.odd)[c][at / 2];
}

// Splits `frames` stereo frames of `x` after the history, filters them into
// `y` and keeps their last frames as the history. The chunk is read whole
// before anything is written, so `y` may overlap it.
void runChunk(const double* x, int frames, double* y) {
    PhaseSplit split;
    for (int j = -kHistory; j < 0; ++j)
        for (int c = 0; c < 2; ++c) slot(split, j, c) = sHistory[c][j + kHistory];
    for (int j = 0; j < frames; ++j)
        for (int c = 0; c < 2; ++c) slot(split, j, c) = x[2 * j + c];
    // What a last pass reads past a short chunk is defined, though never kept.
    for (int j = frames; j < kChunkFrames; ++j)
        for (int c = 0; c < 2; ++c) slot(split, j, c) = 0.0;
    const int kept = (frames + 1) / 2;
#ifdef QUORVEX_WIDE_KERNELS
    if (kWideChunks)
        filterChunkWide(split, kept, frames % 2 == 0, y);
    else
#endif
        filterChunkPlain(split, kept, frames % 2 == 0, y);
    for (int j = -kHistory; j < 0; ++j)
        for (int c = 0; c < 2; ++c) sHistory[c][j + kHistory] = slot(split, frames + j, c);
}

}  // namespace

DownSamplingFilter::DownSamplingFilter(int inBits, int outBits)
    : inBits(inBits), outBits(outBits) {}

DownSamplingFilter::~DownSamplingFilter() = default;

const char* DownSamplingFilter::getName() { return "DownSampler"; }

int DownSamplingFilter::setParamData(unsigned long, const void*, int) { return 0; }

int DownSamplingFilter::getParamData(unsigned long, void*, int) { return 0; }

void DownSamplingFilter::reset() {}

int DownSamplingFilter::process(const RealAudioBuffer* in, RealAudioBuffer* out) {
    const int frames = in->length / 2;
    if (in->length < 0 || frames > out->capacity) return -1;
    // Chunks start at even frames of the block, so every chunk keeps its own
    // frame 0. With an odd frame count the right value of the last kept frame
    // would fall one past the doubles the block reports: it is dropped.
    for (int start = 0; start < frames; start += kChunkFrames) {
        const int count = frames - start < kChunkFrames ? frames - start : kChunkFrames;
        runChunk(in->data + 2 * start, count, out->data + start);
    }
    out->length = frames;
    out->sampleRate = in->sampleRate / 2;
    out->bitsPerSample = outBits;
    return 0;
}
