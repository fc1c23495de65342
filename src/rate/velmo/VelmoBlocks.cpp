#include "rate/velmo/VelmoBlocks.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstring>

#include "dsp/Section.h"
#include "framework/KernelChoice.h"
#include "rate/velmo/VelmoState.h"
#include "rate/velmo/VelmoTables.h"

using namespace velmo_state;

namespace {

// Input frames per pass; the stages at the output rate see twice as many.
constexpr int kChunkFrames = 256;
constexpr int kChunkSamples = 2 * kChunkFrames;

// Four consecutive outputs side by side. A lane does its own output's
// multiplications and additions and nothing else, so the lanes give the bits
// of one output at a time; without 256-bit vectors the compiler splits them.
typedef double Lanes __attribute__((vector_size(32)));

QUORVEX_KERNEL_INLINE void loadLanes(Lanes& v, const double* p) { std::memcpy(&v, p, sizeof v); }
QUORVEX_KERNEL_INLINE void storeLanes(double* p, const Lanes& v) { std::memcpy(p, &v, sizeof v); }

// A transposed line's output is h[0] x[n] + (h[1] x[n-1] + (... + h[N-1] x[n-N+1])):
// its products summed from the oldest input to the newest. Here G groups of
// four outputs, the first output's oldest input at w[0], each group its own
// chain of sums.
template <int G, std::size_t N>
QUORVEX_KERNEL_INLINE void directGroups(const std::array<double, N>& h, const double* w,
                                        double* y) {
    Lanes acc[G], in;
    const Lanes oldest = {h[N - 1], h[N - 1], h[N - 1], h[N - 1]};
    for (int g = 0; g < G; ++g) {
        loadLanes(in, w + 4 * g);
        acc[g] = in * oldest;
    }
    for (std::size_t t = 1; t < N; ++t) {
        const double c = h[N - 1 - t];
        const Lanes tap = {c, c, c, c};
        for (int g = 0; g < G; ++g) {
            loadLanes(in, w + t + 4 * g);
            acc[g] = in * tap + acc[g];
        }
    }
    for (int g = 0; g < G; ++g) storeLanes(y + 4 * g, acc[g]);
}

// Outputs from .. to-1 of one channel; output i's inputs are x[i+1] (oldest)
// to x[i+N] (newest).
template <std::size_t N>
QUORVEX_KERNEL_INLINE void directOutputs(const std::array<double, N>& h, const double* x, int from,
                                         int to, double* y) {
    constexpr int kGroups = 8;
    int i = from;
    for (; i + 4 * kGroups <= to; i += 4 * kGroups) directGroups<kGroups>(h, x + i + 1, y + i);
    for (; i + 4 <= to; i += 4) directGroups<1>(h, x + i + 1, y + i);
    for (; i < to; ++i) {
        double acc = x[i + 1] * h[N - 1];
        for (std::size_t t = 1; t < N; ++t) acc = x[i + 1 + t] * h[N - 1 - t] + acc;
        y[i] = acc;
    }
}

// One step of a transposed line, for the outputs whose inputs reach back
// before the block: their older products are in the line's partial sums.
template <std::size_t N>
QUORVEX_KERNEL_INLINE double transposedStep(const std::array<double, N>& h, double* line,
                                            double x) {
    for (std::size_t k = 0; k + 1 < N; ++k) line[k] = x * h[k] + line[k + 1];
    line[N - 1] = x * h[N - 1];
    return line[0];
}

// The partial sums a transposed line holds after the inputs x[0] (oldest) ..
// x[N-1] (newest): element k is h[k] x[N-1] + (... + h[N-1] x[k]). Four
// elements at a time while all four still add; each lane then finishes alone.
template <std::size_t N>
QUORVEX_KERNEL_INLINE void materialise(const std::array<double, N>& h, const double* x,
                                       double* line) {
    constexpr int n = static_cast<int>(N);
    const Lanes oldest = {h[n - 1], h[n - 1], h[n - 1], h[n - 1]};
    int k = 0;
    for (; k + 4 <= n; k += 4) {
        Lanes acc, in;
        loadLanes(in, x + k);
        acc = in * oldest;
        for (int j = n - 2; j >= k + 3; --j) {
            const Lanes tap = {h[j], h[j], h[j], h[j]};
            loadLanes(in, x + n - 1 - j + k);
            acc = in * tap + acc;
        }
        double lanes[4];
        storeLanes(lanes, acc);
        for (int d = 0; d < 4; ++d) {
            for (int j = k + 2; j >= k + d; --j) lanes[d] = x[n - 1 - j + k + d] * h[j] + lanes[d];
            line[k + d] = lanes[d];
        }
    }
    for (; k < n; ++k) {
        double acc = x[k] * h[n - 1];
        for (int j = n - 2; j >= k; --j) acc = x[n - 1 - j + k] * h[j] + acc;
        line[k] = acc;
    }
}

// One FIR line over blocks, in chunks. Until it has seen N - 1 inputs since
// the line was last current it steps the transposed line, whose partial sums
// carry the older inputs; from then on each output is summed directly from
// the inputs kept here, across blocks, and the line is rebuilt from the last
// N of them only when a per-frame call or a reset needs it (settle).
template <std::size_t N>
struct BlockLine {
    constexpr BlockLine(const std::array<double, N>& table, double* transposed)
        : h(table), line(transposed) {}

    double* input(int channel) { return history[channel] + N; }

    QUORVEX_KERNEL_INLINE void run(int count, double* yL, double* yR) {
        int i = 0;
        for (; i < count && known < static_cast<int>(N) - 1; ++i, ++known) {
            yL[i] = transposedStep(h, line, input(0)[i]);
            yR[i] = transposedStep(h, line + N, input(1)[i]);
        }
        if (i < count) {
            behind = true;
            directOutputs(h, history[0], i, count, yL);
            directOutputs(h, history[1], i, count, yR);
        }
        for (double* past : history) std::memmove(past, past + count, N * sizeof(double));
    }

    // Brings the line up to date; the next block starts from it again.
    QUORVEX_KERNEL_INLINE void settle() {
        known = 0;
        if (!behind) return;
        materialise(h, history[0], line);
        materialise(h, history[1], line + N);
        behind = false;
    }

    const std::array<double, N>& h;
    double* line;
    // Per channel the N inputs before the chunk, oldest first, then the chunk's.
    double history[2][N + kChunkSamples] = {};
    int known = 0;        // inputs run since the line was last current, counted up to N - 1
    bool behind = false;  // whether the line still lacks the direct outputs' inputs
};

// The envelope detector over blocks: its history is a plain input history,
// unpacked for the first block and packed back when settled.
struct BlockEnvelope {
    static constexpr int kPast = kDecAMTaps - 1;

    double* input(int channel) { return history[channel] + kPast; }

    void begin() {
        if (unpacked) return;
        unpacked = true;
        for (int k = 1; k <= kPast; ++k) {
            history[0][kPast - k] = sDecAM_ul[k];
            history[1][kPast - k] = sDecAM_ur[k];
        }
    }

    QUORVEX_KERNEL_INLINE void run(int count, double* yL, double* yR) {
        envelopeOutputs(history[0], count, yL);
        envelopeOutputs(history[1], count, yR);
        for (double* past : history) std::memmove(past, past + count, kPast * sizeof(double));
    }

    void settle() {
        if (!unpacked) return;
        unpacked = false;
        for (int k = 1; k <= kPast; ++k) {
            sDecAM_ul[k] = history[0][kPast - k];
            sDecAM_ur[k] = history[1][kPast - k];
        }
        sDecAM_ul[0] = sDecAM_ul[1];
        sDecAM_ur[0] = sDecAM_ur[1];
    }

    // Input i at x[kPast + i]: |input 8 back| + |sum of the transform's
    // products in increasing k, the zero centre tap skipped|, four at a time.
    QUORVEX_KERNEL_INLINE static void envelopeOutputs(const double* x, int count, double* y) {
        typedef long long LaneBits __attribute__((vector_size(32)));
        const LaneBits magnitude = {~(1ll << 63), ~(1ll << 63), ~(1ll << 63), ~(1ll << 63)};
        int i = 0;
        for (; i + 4 <= count; i += 4) {
            const double* now = x + kPast + i;
            Lanes sum, in;
            const Lanes first = {sDecAM_hn[0], sDecAM_hn[0], sDecAM_hn[0], sDecAM_hn[0]};
            loadLanes(in, now);
            sum = first * in;
            for (int k = 1; k < kDecAMTaps; ++k) {
                if (k == kDecAMCentre) continue;
                const Lanes tap = {sDecAM_hn[k], sDecAM_hn[k], sDecAM_hn[k], sDecAM_hn[k]};
                loadLanes(in, now - k);
                sum = sum + tap * in;
            }
            loadLanes(in, now - kDecAMCentre);
            const Lanes inPhase = (Lanes)((LaneBits)in & magnitude);
            const Lanes quadrature = (Lanes)((LaneBits)sum & magnitude);
            storeLanes(y + i, inPhase + quadrature);
        }
        for (; i < count; ++i) {
            const double* now = x + kPast + i;
            double sum = sDecAM_hn[0] * now[0];
            for (int k = 1; k < kDecAMTaps; ++k)
                if (k != kDecAMCentre) sum = sum + sDecAM_hn[k] * now[-k];
            y[i] = std::fabs(now[-kDecAMCentre]) + std::fabs(sum);
        }
    }

    double history[2][kPast + kChunkSamples] = {};
    bool unpacked = false;  // whether the inputs here are newer than the detector's history
};

BlockLine<65> sOff(sOff_hf, sOff_hf_d);
BlockLine<33> sCDLow(sVelmoCDlf, sVelmoCDlf_d);
BlockLine<33> sMP3Low(sVelmoMP3lf, sVelmoMP3lf_d);
BlockLine<33> sHighPass(sVelmohpf2, sVelmohpf2_d);
BlockLine<33> sCDHigh32(sVelmoCDhf32, sVelmoCDhf32_d);
BlockLine<129> sCDHigh128(sVelmoCDhf128, sVelmoCDhf128_d);
BlockLine<33> sMP3High32(sVelmoMP3hf32, sVelmoMP3hf32_d);
BlockLine<129> sMP3High128(sVelmoMP3hf128, sVelmoMP3hf128_d);
BlockEnvelope sEnvelope;

// The low band's and the high band's outputs of a chunk.
double sLow[2][kChunkSamples];
double sHigh[2][kChunkSamples];

// Each input held for both output instants.
QUORVEX_KERNEL_INLINE void hold(double x, double* held, int i) {
    held[2 * i] = held[2 * i + 1] = x;
}

QUORVEX_KERNEL_INLINE void interpolateChunk(const double* x, double* y, int frames) {
    for (int i = 0; i < frames; ++i) {
        hold(x[2 * i], sOff.input(0), i);
        hold(x[2 * i + 1], sOff.input(1), i);
    }
    sOff.run(2 * frames, sLow[0], sLow[1]);
    for (int t = 0; t < 2 * frames; ++t) {
        y[2 * t] = sLow[0][t];
        y[2 * t + 1] = sLow[1][t];
    }
}

// A kernel's stages one after the other over the chunk: every line still sees
// its inputs in the order of the per-frame calls.
template <std::size_t NH>
QUORVEX_KERNEL_INLINE void enhanceChunk(BlockLine<33>& low, BlockLine<NH>& high,
                                        VelmoStereoStep section, double gain, BiquadState& smooth,
                                        const double* x, double* y, int frames) {
    const int samples = 2 * frames;
    VelmoPreEmphasise(section, x, frames, low.input(0), low.input(1));
    low.run(samples, sLow[0], sLow[1]);
    for (int c = 0; c < 2; ++c)
        std::memcpy(sHighPass.input(c), sLow[c],
                    static_cast<std::size_t>(samples) * sizeof(double));
    sHighPass.run(samples, sEnvelope.input(0), sEnvelope.input(1));
    sEnvelope.run(samples, high.input(0), high.input(1));
    high.run(samples, sHigh[0], sHigh[1]);
    // The section's history stays in registers, apart from the output.
    dsp::SectionHistory<double> left = smooth.left, right = smooth.right;
    for (int t = 0; t < samples; ++t) {
        y[2 * t] = dsp::runSection(sVelmoLpf2, left, sLow[0][t] + sHigh[0][t] * gain);
        y[2 * t + 1] = dsp::runSection(sVelmoLpf2, right, sLow[1][t] + sHigh[1][t] * gain);
    }
    smooth.left = left;
    smooth.right = right;
}

template <std::size_t N>
QUORVEX_KERNEL_INLINE void settleLine(BlockLine<N>& line) {
    line.settle();
}

// Every pass in a plain build and, where the compiler can, a 256-bit one.
const bool kWideBlocks = framework::wideKernelsRun();

void interpolateChunkPlain(const double* x, double* y, int frames) {
    interpolateChunk(x, y, frames);
}

template <std::size_t NH>
void enhanceChunkPlain(BlockLine<33>& low, BlockLine<NH>& high, VelmoStereoStep section,
                       double gain, BiquadState& smooth, const double* x, double* y, int frames) {
    enhanceChunk(low, high, section, gain, smooth, x, y, frames);
}

template <std::size_t N>
void settleLinePlain(BlockLine<N>& line) {
    settleLine(line);
}

#ifdef QUORVEX_WIDE_KERNELS
QUORVEX_WIDE_TARGET void interpolateChunkWide(const double* x, double* y, int frames) {
    interpolateChunk(x, y, frames);
}

template <std::size_t NH>
QUORVEX_WIDE_TARGET void enhanceChunkWide(BlockLine<33>& low, BlockLine<NH>& high,
                                          VelmoStereoStep section, double gain, BiquadState& smooth,
                                          const double* x, double* y, int frames) {
    enhanceChunk(low, high, section, gain, smooth, x, y, frames);
}

template <std::size_t N>
QUORVEX_WIDE_TARGET void settleLineWide(BlockLine<N>& line) {
    settleLine(line);
}
#endif

// Whether a block ran since the lines were last settled.
bool sBlocksAhead = false;

template <std::size_t N>
void settle(BlockLine<N>& line) {
#ifdef QUORVEX_WIDE_KERNELS
    if (kWideBlocks) return settleLineWide(line);
#endif
    settleLinePlain(line);
}

template <std::size_t NH>
void enhance(BlockLine<33>& low, BlockLine<NH>& high, double gain, BiquadState& smooth,
             VelmoStereoStep section, const double* x, double* y, int frames) {
    sBlocksAhead = true;
    sEnvelope.begin();
    for (int done = 0; done < frames; done += kChunkFrames) {
        const int n = frames - done < kChunkFrames ? frames - done : kChunkFrames;
#ifdef QUORVEX_WIDE_KERNELS
        if (kWideBlocks) {
            enhanceChunkWide(low, high, section, gain, smooth, x + 2 * done, y + 4 * done, n);
            continue;
        }
#endif
        enhanceChunkPlain(low, high, section, gain, smooth, x + 2 * done, y + 4 * done, n);
    }
}

}  // namespace

void VelmoInterpolateBlock(const double* x, double* y, int frames) {
    sBlocksAhead = true;
    for (int done = 0; done < frames; done += kChunkFrames) {
        const int n = frames - done < kChunkFrames ? frames - done : kChunkFrames;
#ifdef QUORVEX_WIDE_KERNELS
        if (kWideBlocks) {
            interpolateChunkWide(x + 2 * done, y + 4 * done, n);
            continue;
        }
#endif
        interpolateChunkPlain(x + 2 * done, y + 4 * done, n);
    }
}

void VelmoSettleBlocks() {
    if (!sBlocksAhead) return;
    sBlocksAhead = false;
    settle(sOff);
    settle(sCDLow);
    settle(sMP3Low);
    settle(sHighPass);
    settle(sCDHigh32);
    settle(sCDHigh128);
    settle(sMP3High32);
    settle(sMP3High128);
    sEnvelope.settle();
}

void VelmoEnhanceBlock(VelmoKernel kernel, VelmoStereoStep section, const double* x, double* y,
                       int frames) {
    if (frames <= 0) return;
    switch (kernel) {
        case VelmoKernel::kCD:
            return enhance(sCDLow, sCDHigh128, kVelmoCDGain, sCDlpf2, section, x, y, frames);
        case VelmoKernel::kMP3:
            return enhance(sMP3Low, sMP3High128, kVelmoMP3Gain, sMP3lpf2, section, x, y, frames);
        case VelmoKernel::kCD32:
            return enhance(sCDLow, sCDHigh32, kVelmoCDGain, sCDlpf2, section, x, y, frames);
        case VelmoKernel::kMP332:
            return enhance(sMP3Low, sMP3High32, kVelmoMP3Gain, sMP3lpf2, section, x, y, frames);
    }
}
