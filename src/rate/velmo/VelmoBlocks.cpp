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

// Four doubles at any double's address. Moved as one vector rather than with
// memcpy, which the compiler may split into halves or route through the stack.
typedef double UnalignedLanes __attribute__((vector_size(32), aligned(8), may_alias));

QUORVEX_KERNEL_INLINE void loadLanes(Lanes& v, const double* p) {
    v = *reinterpret_cast<const UnalignedLanes*>(p);
}
QUORVEX_KERNEL_INLINE void storeLanes(double* p, const Lanes& v) {
    *reinterpret_cast<UnalignedLanes*>(p) = v;
}

// A transposed line's output is h[0] x[n] + (h[1] x[n-1] + (... + h[N-1] x[n-N+1])):
// its products summed from the oldest input to the newest. Here G groups of
// four outputs, the first output's oldest inputs at window[0], each group its
// own chain of sums.
template <int G, std::size_t N>
QUORVEX_KERNEL_INLINE void directGroups(const std::array<double, N>& h, const Lanes* window,
                                        double* y) {
    Lanes acc[G];
    const Lanes oldest = {h[N - 1], h[N - 1], h[N - 1], h[N - 1]};
    for (int g = 0; g < G; ++g) acc[g] = window[4 * g] * oldest;
    for (std::size_t t = 1; t < N; ++t) {
        const double c = h[N - 1 - t];
        const Lanes tap = {c, c, c, c};
        for (int g = 0; g < G; ++g) acc[g] = window[t + 4 * g] * tap + acc[g];
    }
    for (int g = 0; g < G; ++g) storeLanes(y + 4 * g, acc[g]);
}

// Outputs from .. to-1 of one channel; output i's inputs are x[i+1] (oldest)
// to x[i+N] (newest). window[m] holds x[m] .. x[m+3], so that every load of
// the sums is one aligned vector.
template <std::size_t N>
QUORVEX_KERNEL_INLINE void directOutputs(const std::array<double, N>& h, const double* x, int from,
                                         int to, Lanes* window, double* y) {
    constexpr int kGroups = 8;
    const int n = static_cast<int>(N);
    for (int m = from + 1; m + 3 < to + n; ++m) loadLanes(window[m], x + m);
    int i = from;
    for (; i + 4 * kGroups <= to; i += 4 * kGroups) directGroups<kGroups>(h, window + i + 1, y + i);
    for (; i + 4 <= to; i += 4) directGroups<1>(h, window + i + 1, y + i);
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
            directOutputs(h, history[0], i, count, window, yL);
            directOutputs(h, history[1], i, count, window, yR);
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
    // Each channel's inputs as overlapping vectors, rebuilt for its direct outputs.
    Lanes window[N + kChunkSamples] = {};
    int known = 0;        // inputs run since the line was last current, counted up to N - 1
    bool behind = false;  // whether the line still lacks the direct outputs' inputs
};

// The interpolating low-passes see each input frame held for two instants, so
// the even and the odd output of a frame share their inputs: with K = (N - 1) / 2,
// output 2s takes x[s - ceil(j / 2)] at tap j and output 2s + 1 takes
// x[s - floor(j / 2)]. At even taps both take the same product, at odd taps
// the odd output's input is the even one's next. Each output still adds its
// products from the oldest input to the newest.
template <std::size_t N>
struct HeldLine {
    static constexpr int K = static_cast<int>(N - 1) / 2;
    // Frames kept before the chunk: K for the sums, one more for the N held
    // inputs a settled line is rebuilt from.
    static constexpr int kPast = K + 1;

    HeldLine(const std::array<double, N>& table, double* transposed) : h(table), line(transposed) {
        for (std::size_t j = 0; j < N; ++j)
            for (double& lane : spread[j]) lane = h[j];
    }

    double* input(int channel) { return history[channel] + kPast; }

    // Frames 0 .. frames-1 of the inputs; `sink` takes frame s's outputs,
    // even left and right, then odd left and right.
    template <class Sink>
    QUORVEX_KERNEL_INLINE void run(int frames, Sink& sink) {
        int s = 0;
        for (; s < frames && known < static_cast<int>(N) - 1; ++s, known += 2) {
            const double l = input(0)[s], r = input(1)[s];
            const double evenL = transposedStep(h, line, l);
            const double oddL = transposedStep(h, line, l);
            const double evenR = transposedStep(h, line + N, r);
            const double oddR = transposedStep(h, line + N, r);
            sink.one(s, evenL, evenR, oddL, oddR);
        }
        if (s < frames) {
            behind = true;
            for (; s + 8 <= frames; s += 8) groups<2>(s, sink);
            for (; s + 4 <= frames; s += 4) groups<1>(s, sink);
            for (; s < frames; ++s)
                sink.one(s, evenOf(0, s), evenOf(1, s), oddOf(0, s), oddOf(1, s));
        }
        for (double* past : history) std::memmove(past, past + frames, kPast * sizeof(double));
    }

    // Frames s .. s + 4G - 1 of both channels, each group of four its own sums.
    // Each input vector x[s - m] is loaded once and gives the odd outputs'
    // products at taps 2m + 1 and 2m, the even outputs' at 2m and then 2m - 1
    // (where their next input begins).
    template <int G, class Sink>
    QUORVEX_KERNEL_INLINE void groups(int s, Sink& sink) {
        Lanes even[2][G], odd[2][G], in, bothTap, evenTap;
        loadLanes(bothTap, spread[2 * K]);
        loadLanes(evenTap, spread[2 * K - 1]);
        for (int c = 0; c < 2; ++c)
            for (int g = 0; g < G; ++g) {
                loadLanes(in, input(c) + s + 4 * g - K);
                even[c][g] = odd[c][g] = in * bothTap;
                even[c][g] = in * evenTap + even[c][g];
            }
        for (int m = K - 1; m > 0; --m) take<G, true>(s, m, even, odd);
        take<G, false>(s, 0, even, odd);
        for (int g = 0; g < G; ++g)
            sink.lanes(s + 4 * g, even[0][g], even[1][g], odd[0][g], odd[1][g]);
    }

    // Input vector x[s - m] of each group into its sums; the even outputs'
    // tap 2m - 1 only where there is one.
    template <int G, bool kEvenNext>
    QUORVEX_KERNEL_INLINE void take(int s, int m, Lanes (&even)[2][G], Lanes (&odd)[2][G]) {
        Lanes in, oddTap, bothTap, evenTap = {};
        loadLanes(oddTap, spread[2 * m + 1]);
        loadLanes(bothTap, spread[2 * m]);
        if (kEvenNext) loadLanes(evenTap, spread[2 * m - 1]);
        for (int c = 0; c < 2; ++c)
            for (int g = 0; g < G; ++g) {
                loadLanes(in, input(c) + s + 4 * g - m);
                odd[c][g] = in * oddTap + odd[c][g];
                const Lanes both = in * bothTap;
                even[c][g] = both + even[c][g];
                odd[c][g] = both + odd[c][g];
                if (kEvenNext) even[c][g] = in * evenTap + even[c][g];
            }
    }

    // Frame s's even and odd output of channel c alone, for the frames left
    // over after the groups.
    QUORVEX_KERNEL_INLINE double evenOf(int c, int s) {
        const double* x = input(c) + s;
        double acc = x[-K] * h[N - 1];
        for (int k = K - 1; k >= 0; --k) {
            acc = x[-k - 1] * h[2 * k + 1] + acc;
            acc = x[-k] * h[2 * k] + acc;
        }
        return acc;
    }

    QUORVEX_KERNEL_INLINE double oddOf(int c, int s) {
        const double* x = input(c) + s;
        double acc = x[-K] * h[N - 1];
        for (int k = K - 1; k >= 0; --k) {
            acc = x[-k] * h[2 * k + 1] + acc;
            acc = x[-k] * h[2 * k] + acc;
        }
        return acc;
    }

    // Rebuilds the line from the last N held inputs: the last kPast frames,
    // the oldest one's second instant first.
    QUORVEX_KERNEL_INLINE void settle() {
        known = 0;
        if (!behind) return;
        for (int c = 0; c < 2; ++c) {
            double held[N];
            for (std::size_t m = 0; m < N; ++m) held[m] = history[c][(m + 1) / 2];
            materialise(h, held, line + c * N);
        }
        behind = false;
    }

    const std::array<double, N>& h;
    double spread[N][4];  // each tap in all four lanes, for the sums to load
    double* line;
    // Per channel the kPast frames before the chunk, oldest first, then the chunk's.
    double history[2][kPast + kChunkFrames] = {};
    int known = 0;        // held inputs run since the line was last current, counted up to N - 1
    bool behind = false;  // whether the line still lacks the direct outputs' inputs
};

// Frame s's four outputs side by side at y[4s], as the enhancer's callers
// take them.
struct FrameSink {
    double* y;

    QUORVEX_KERNEL_INLINE void one(int s, double evenL, double evenR, double oddL, double oddR) {
        y[4 * s] = evenL;
        y[4 * s + 1] = evenR;
        y[4 * s + 2] = oddL;
        y[4 * s + 3] = oddR;
    }

    // A 4 x 4 transpose: row f of the result is frame s + f.
    QUORVEX_KERNEL_INLINE void lanes(int s, const Lanes& evenL, const Lanes& evenR,
                                     const Lanes& oddL, const Lanes& oddR) {
        const Lanes even02 = __builtin_shufflevector(evenL, evenR, 0, 4, 2, 6);
        const Lanes even13 = __builtin_shufflevector(evenL, evenR, 1, 5, 3, 7);
        const Lanes odd02 = __builtin_shufflevector(oddL, oddR, 0, 4, 2, 6);
        const Lanes odd13 = __builtin_shufflevector(oddL, oddR, 1, 5, 3, 7);
        double* out = y + 4 * s;
        storeLanes(out, __builtin_shufflevector(even02, odd02, 0, 1, 4, 5));
        storeLanes(out + 4, __builtin_shufflevector(even13, odd13, 0, 1, 4, 5));
        storeLanes(out + 8, __builtin_shufflevector(even02, odd02, 2, 3, 6, 7));
        storeLanes(out + 12, __builtin_shufflevector(even13, odd13, 2, 3, 6, 7));
    }
};

// Each channel's outputs in instant order, for the stages after the line.
struct InstantSink {
    double* left;
    double* right;

    QUORVEX_KERNEL_INLINE void one(int s, double evenL, double evenR, double oddL, double oddR) {
        left[2 * s] = evenL;
        left[2 * s + 1] = oddL;
        right[2 * s] = evenR;
        right[2 * s + 1] = oddR;
    }

    QUORVEX_KERNEL_INLINE void lanes(int s, const Lanes& evenL, const Lanes& evenR,
                                     const Lanes& oddL, const Lanes& oddR) {
        interleave(left + 2 * s, evenL, oddL);
        interleave(right + 2 * s, evenR, oddR);
    }

    QUORVEX_KERNEL_INLINE static void interleave(double* out, const Lanes& even, const Lanes& odd) {
        const Lanes low = __builtin_shufflevector(even, odd, 0, 4, 2, 6);
        const Lanes high = __builtin_shufflevector(even, odd, 1, 5, 3, 7);
        storeLanes(out, __builtin_shufflevector(low, high, 0, 1, 4, 5));
        storeLanes(out + 4, __builtin_shufflevector(low, high, 2, 3, 6, 7));
    }
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

HeldLine<65> sOff(sOff_hf, sOff_hf_d);
HeldLine<33> sCDLow(sVelmoCDlf, sVelmoCDlf_d);
HeldLine<33> sMP3Low(sVelmoMP3lf, sVelmoMP3lf_d);
BlockLine<33> sHighPass(sVelmohpf2, sVelmohpf2_d);
BlockLine<33> sCDHigh32(sVelmoCDhf32, sVelmoCDhf32_d);
BlockLine<129> sCDHigh128(sVelmoCDhf128, sVelmoCDhf128_d);
BlockLine<33> sMP3High32(sVelmoMP3hf32, sVelmoMP3hf32_d);
BlockLine<129> sMP3High128(sVelmoMP3hf128, sVelmoMP3hf128_d);
BlockEnvelope sEnvelope;

// The low band's and the high band's outputs of a chunk.
double sLow[2][kChunkSamples];
double sHigh[2][kChunkSamples];

QUORVEX_KERNEL_INLINE void interpolateChunk(const double* x, double* y, int frames) {
    for (int i = 0; i < frames; ++i) {
        sOff.input(0)[i] = x[2 * i];
        sOff.input(1)[i] = x[2 * i + 1];
    }
    FrameSink sink{y};
    sOff.run(frames, sink);
}

// The pre-emphasis of a block, and where the frames after the current chunk
// are, so that the chunk's last loop can emphasise them.
struct Emphasis {
    VelmoSectionParts parts;
    const double* next;
    int nextFrames;
};

// The block's first chunk through the pre-emphasis, frame i's results at
// outL[i] and outR[i]; the histories stay in registers meanwhile.
void emphasiseFirst(const VelmoSectionParts& s, const double* x, int frames, double* outL,
                    double* outR) {
    dsp::SectionHistory<double> left = *s.left, right = *s.right;
    for (int i = 0; i < frames; ++i) {
        outL[i] = dsp::runSection(*s.coeffs, left, x[2 * i]);
        outR[i] = dsp::runSection(*s.coeffs, right, x[2 * i + 1]);
    }
    *s.left = left;
    *s.right = right;
}

// The output section over the chunk. Its recurrence leaves the processor idle
// between steps, so the next chunk's pre-emphasis, a recurrence of its own,
// runs in the same loop; the low line has taken this chunk's inputs already.
QUORVEX_KERNEL_INLINE void outputSection(BiquadState& smooth, double gain, const Emphasis& pre,
                                         double* nextL, double* nextR, double* y, int samples) {
    // The histories stay in registers, apart from the output.
    dsp::SectionHistory<double> left = smooth.left, right = smooth.right;
    const auto output = [&](int t) {
        y[2 * t] = dsp::runSection(sVelmoLpf2, left, sLow[0][t] + sHigh[0][t] * gain);
        y[2 * t + 1] = dsp::runSection(sVelmoLpf2, right, sLow[1][t] + sHigh[1][t] * gain);
    };
    int t = 0;
    if (pre.nextFrames > 0) {
        const dsp::SectionCoeffs& c = *pre.parts.coeffs;
        dsp::SectionHistory<double> emphL = *pre.parts.left, emphR = *pre.parts.right;
        for (int i = 0; i < pre.nextFrames; ++i, t += 2) {
            nextL[i] = dsp::runSection(c, emphL, pre.next[2 * i]);
            nextR[i] = dsp::runSection(c, emphR, pre.next[2 * i + 1]);
            output(t);
            output(t + 1);
        }
        *pre.parts.left = emphL;
        *pre.parts.right = emphR;
    }
    for (; t < samples; ++t) output(t);
    smooth.left = left;
    smooth.right = right;
}

// A kernel's stages one after the other over the chunk, whose inputs the low
// line holds pre-emphasised: every line still sees its inputs in the order of
// the per-frame calls.
template <std::size_t NH>
QUORVEX_KERNEL_INLINE void enhanceChunk(HeldLine<33>& low, BlockLine<NH>& high, const Emphasis& pre,
                                        double gain, BiquadState& smooth, double* y, int frames) {
    const int samples = 2 * frames;
    InstantSink lowOut{sLow[0], sLow[1]};
    low.run(frames, lowOut);
    for (int c = 0; c < 2; ++c)
        std::memcpy(sHighPass.input(c), sLow[c],
                    static_cast<std::size_t>(samples) * sizeof(double));
    sHighPass.run(samples, sEnvelope.input(0), sEnvelope.input(1));
    sEnvelope.run(samples, high.input(0), high.input(1));
    high.run(samples, sHigh[0], sHigh[1]);
    outputSection(smooth, gain, pre, low.input(0), low.input(1), y, samples);
}

// Every pass in a plain build and, where the compiler can, a 256-bit one.
const bool kWideBlocks = framework::wideKernelsRun();

void interpolateChunkPlain(const double* x, double* y, int frames) {
    interpolateChunk(x, y, frames);
}

template <std::size_t NH>
void enhanceChunkPlain(HeldLine<33>& low, BlockLine<NH>& high, const Emphasis& pre, double gain,
                       BiquadState& smooth, double* y, int frames) {
    enhanceChunk(low, high, pre, gain, smooth, y, frames);
}

template <class Line>
void settleLinePlain(Line& line) {
    line.settle();
}

#ifdef QUORVEX_WIDE_KERNELS
QUORVEX_WIDE_TARGET void interpolateChunkWide(const double* x, double* y, int frames) {
    interpolateChunk(x, y, frames);
}

template <std::size_t NH>
QUORVEX_WIDE_TARGET void enhanceChunkWide(HeldLine<33>& low, BlockLine<NH>& high,
                                          const Emphasis& pre, double gain, BiquadState& smooth,
                                          double* y, int frames) {
    enhanceChunk(low, high, pre, gain, smooth, y, frames);
}

template <class Line>
QUORVEX_WIDE_TARGET void settleLineWide(Line& line) {
    line.settle();
}
#endif

// Whether a block ran since the lines were last settled.
bool sBlocksAhead = false;

template <class Line>
void settle(Line& line) {
#ifdef QUORVEX_WIDE_KERNELS
    if (kWideBlocks) return settleLineWide(line);
#endif
    settleLinePlain(line);
}

template <std::size_t NH>
void enhance(HeldLine<33>& low, BlockLine<NH>& high, double gain, BiquadState& smooth,
             VelmoStereoStep section, const double* x, double* y, int frames) {
    sBlocksAhead = true;
    sEnvelope.begin();
    const auto chunkAt = [frames](int done) {
        return frames - done < kChunkFrames ? frames - done : kChunkFrames;
    };
    Emphasis pre{VelmoPreEmphasisParts(section), nullptr, 0};
    emphasiseFirst(pre.parts, x, chunkAt(0), low.input(0), low.input(1));
    for (int done = 0; done < frames; done += kChunkFrames) {
        const int n = chunkAt(done);
        pre.next = x + 2 * (done + n);
        pre.nextFrames = done + n < frames ? chunkAt(done + n) : 0;
#ifdef QUORVEX_WIDE_KERNELS
        if (kWideBlocks) {
            enhanceChunkWide(low, high, pre, gain, smooth, y + 4 * done, n);
            continue;
        }
#endif
        enhanceChunkPlain(low, high, pre, gain, smooth, y + 4 * done, n);
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
