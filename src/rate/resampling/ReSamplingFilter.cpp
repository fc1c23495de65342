#include <quorvex/ReSamplingFilter.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "dsp/StereoLanes.h"
#include "framework/KernelChoice.h"
#include "rate/resampling/ReSamplingState.h"
#include "rate/resampling/bessel0.h"

namespace {

constexpr int s_firodr = 4096;     // half-length of the prototype, intermediate-rate taps
constexpr double s_lpfcof = 0.88;  // cut-off as a fraction of the output rate
constexpr double kPi = 3.141592653589793;
constexpr double kKaiserBeta = 10.0;
constexpr int kMaxMultiple = 1023;
constexpr int kRingFrames = 65536;
constexpr int64_t kRingMask = kRingFrames - 1;
constexpr int kMaxBlockFrames = 32768;

int s_nInputFreq;
int s_nOutputFreq;
int s_isrm;  // up factor; 0 until a rate pair has been set up
int s_osrm;  // down factor
int s_nImgFreq;
double s_hfir[65536];
// The prototype regrouped by phase: the taps of a window whose first input
// lies p intermediate samples past -4096 are the run at s_phaseOffset[p].
constexpr int kMaxPhases = 16384;
double s_phaseTaps[2 * s_firodr + kMaxPhases + 1];
int s_phaseOffset[kMaxPhases];
alignas(16) double s_smpld[kRingFrames][2];
// Absolute input indexes grow with the stream; 64 bits keep them exact for
// any stream a host can play.
int64_t s_iptr;
int64_t s_sptr;
int s_sptrr;
int64_t s_eptr;
int s_eptrr;
// The last input index that held an infinite or undefined value; the block
// kernels of ordinary rate pairs run only on windows past it.
int64_t s_lastNonFinite;
// Output frames are counted over the whole stream: each block carries the
// fraction of an output it could not complete (as a numerator over the input
// rate) to the next, so the window keeps pace with the input.
int64_t s_outRemainder;

// The smallest multiple of the larger rate that the smaller one divides, or
// -1 when none within kMaxMultiple multiples fits in an int.
int64_t commonMultiple(int a, int b) {
    const int64_t hi = a > b ? a : b;
    const int64_t lo = a > b ? b : a;
    for (int j = 1; j <= kMaxMultiple; ++j) {
        if (hi * j % lo == 0) return hi * j <= INT_MAX ? hi * j : -1;
    }
    return -1;
}

// Kaiser-windowed ideal low-pass with its edge at 0.44 x the output rate; the
// gain `up` restores the level lost to zero insertion.
void buildPrototype(int outRate, int up, int imgFreq) {
    const double fc = outRate * s_lpfcof;
    const double g = fc * 0.5 * up * 2 / imgFreq;
    const double omega = fc * kPi / imgFreq;
    const double windowNorm = bessel0(kKaiserBeta);
    s_hfir[0] = g;
    for (int i = 1; i <= s_firodr; ++i) {
        const double x = static_cast<double>(i) / s_firodr;
        const double phase = i * omega;
        s_hfir[i] = g * std::sin(phase) / phase * bessel0(kKaiserBeta * std::sqrt(1.0 - x * x)) /
                    windowNorm;
    }
}

// Ordinary rate pairs read their taps from this table in order instead of
// gathering them from the half prototype.
void buildPhaseTable(int up) {
    if (up > kMaxPhases) return;
    int offset = 0;
    for (int p = 0; p < up; ++p) {
        s_phaseOffset[p] = offset;
        for (int t = p - s_firodr; t <= s_firodr; t += up)
            s_phaseTaps[offset++] = s_hfir[t < 0 ? -t : t];
    }
}

// x - x is zero for every finite x and undefined otherwise: one test per
// frame with no branch, both channels in the lanes of one vector.
bool allFinite(const double* in, int frames) {
    const dsp::StereoLanes zero = {};
    auto finite = zero == zero;
    for (int f = 0; f < frames; ++f) {
        const dsp::StereoLanes v = dsp::loadLanes(in + 2 * f);
        finite &= v - v == zero;
    }
    return finite[0] && finite[1];
}

// The last frame at `in` holding an infinite or undefined value; -1 if none.
int lastNonFiniteFrame(const double* in, int frames) {
    for (int f = frames - 1; f >= 0; --f)
        if (!std::isfinite(in[2 * f]) || !std::isfinite(in[2 * f + 1])) return f;
    return -1;
}

void storeFrames(const double* in, int frames) {
    if (frames == 0) return;
    const int64_t start = s_iptr & kRingMask;
    const int64_t head = start + frames <= kRingFrames ? frames : kRingFrames - start;
    std::memcpy(s_smpld[start], in, sizeof s_smpld[0] * head);
    if (head < frames) std::memcpy(s_smpld[0], in + 2 * head, sizeof s_smpld[0] * (frames - head));
    if (!allFinite(in, frames)) s_lastNonFinite = s_iptr + lastNonFiniteFrame(in, frames);
    s_iptr += frames;
}

// One output's window: its first input index, the prototype tap offset of
// that input, and the number of inputs it spans.
struct Window {
    int64_t first;
    int tap;
    int taps;
};

Window currentWindow() {
    return {s_sptr, -s_firodr - s_sptrr, static_cast<int>(s_eptr - s_sptr + 1)};
}

// Left and right travel together through the sums.
using dsp::StereoLanes;

// A window read straight from the half prototype and the ring.
struct GatheredWindow {
    const Window* w;
    int up;
    double tap(int j) const {
        const int t = w->tap + j * up;
        return s_hfir[t < 0 ? -t : t];
    }
    const double* frame(int j) const { return s_smpld[(w->first + j) & kRingMask]; }
};

// A window whose taps are one run of the phase table and whose frames do not
// wrap around the ring.
struct ContiguousWindow {
    const double* taps;
    const double* frames;
    double tap(int j) const { return taps[j]; }
    const double* frame(int j) const { return frames + 2 * j; }
};

template <typename Source>
inline void accumulate(StereoLanes& acc, const Source& src, int j) {
    const double h = src.tap(j);
    acc += StereoLanes{h, h} * dsp::loadLanes(src.frame(j));
}

// The polyphase sums of `Count` consecutive outputs: every input frame of a
// window times the prototype tap at its distance from the output, added in
// ascending input order. The outputs' sums are independent, so running them
// side by side hides the latency of each addition without changing a bit.
template <int Count, typename Source>
void windowSums(const Window* w, const Source* src, double* out) {
    StereoLanes acc[Count] = {};
    int common = w[0].taps;
    for (int g = 1; g < Count; ++g) common = w[g].taps < common ? w[g].taps : common;
    for (int j = 0; j < common; ++j) {
        for (int g = 0; g < Count; ++g) accumulate(acc[g], src[g], j);
    }
    for (int g = 0; g < Count; ++g) {
        for (int j = common; j < w[g].taps; ++j) accumulate(acc[g], src[g], j);
        out[2 * g] = acc[g][0];
        out[2 * g + 1] = acc[g][1];
    }
}

// Uses the phase table unless the up factor outgrew it or a window wraps
// around the end of the ring.
template <int Count>
void windowSums(const Window* w, double* out) {
    bool contiguous = s_isrm <= kMaxPhases;
    for (int g = 0; g < Count; ++g)
        contiguous = contiguous && (w[g].first & kRingMask) + w[g].taps <= kRingFrames;
    if (contiguous) {
        ContiguousWindow src[Count];
        for (int g = 0; g < Count; ++g)
            src[g] = {s_phaseTaps + s_phaseOffset[w[g].tap + s_firodr],
                      s_smpld[w[g].first & kRingMask]};
        windowSums<Count>(w, src, out);
    } else {
        GatheredWindow src[Count];
        for (int g = 0; g < Count; ++g) src[g] = {&w[g], s_isrm};
        windowSums<Count>(w, src, out);
    }
}

// A window's ends as input indexes and remainders on the intermediate axis.
struct WindowBounds {
    int64_t first;
    int firstRemainder;
    int64_t last;
    int lastRemainder;
};

// Moves a window on by one output period, `down` intermediate samples.
void advance(WindowBounds& b, int up, int down) {
    const int q = down / up;
    const int r = down % up;
    b.first += q;
    b.firstRemainder += r;
    if (b.firstRemainder > 0) {
        b.firstRemainder -= up;
        b.first += 1;
    }
    b.last += q;
    b.lastRemainder += r;
    if (b.lastRemainder >= up) {
        b.lastRemainder -= up;
        b.last += 1;
    }
}

void advanceWindow() {
    WindowBounds b{s_sptr, s_sptrr, s_eptr, s_eptrr};
    advance(b, s_isrm, s_osrm);
    s_sptr = b.first;
    s_sptrr = b.firstRemainder;
    s_eptr = b.last;
    s_eptrr = b.lastRemainder;
}

// The block kernels run the sums of several consecutive outputs in the lanes
// of 256-bit vectors; each lane does one output's multiplications and
// additions in ascending input order, exactly as the sums above.
typedef double Quad __attribute__((vector_size(32)));

// Vectors pass by reference: the plain build has no 256-bit registers to
// pass them in.
QUORVEX_KERNEL_INLINE void loadQuad(Quad& v, const double* p) { std::memcpy(&v, p, sizeof v); }

// Ordinary rate pairs: eight outputs walk the frames from the first output's
// first frame together, each frame's left and right values spread over all
// lanes. Lane g takes part from step begin to end - 1 of the group's walk;
// the taps of a step lie side by side in one row of s_groupTaps, one table of
// rows for each phase the group's first output can start at, and the taps of
// a lane outside its steps are zero.
//
// A lane's sum starts at +0 and so never becomes -0, and adding a zero
// product to anything but -0 leaves it as it was: the steps outside a lane's
// window change none of its bits as long as every frame is finite.
constexpr int kGroupOutputs = 8;
constexpr int kGroupRows = 32768;

struct GroupShape {
    int row;    // the group's first row in s_groupTaps
    int steps;  // frames walked: the end of the last lane
};

GroupShape s_groupShape[kMaxPhases];
alignas(64) double s_groupTaps[kGroupRows][kGroupOutputs];
bool s_groupsBuilt;

int64_t floorDiv(int64_t a, int64_t b) { return a >= 0 ? a / b : -((-a + b - 1) / b); }

// The group whose first window starts `phase` intermediate samples before
// its first frame, frame 0; false when the rows would not fit.
bool buildGroup(int phase, int up, int down, int* row) {
    WindowBounds b{0, -phase, 0, 0};
    b.last = floorDiv(2 * s_firodr - phase, up);
    b.lastRemainder = static_cast<int>(2 * s_firodr - phase - b.last * up);
    int begin[kGroupOutputs], end[kGroupOutputs], phases[kGroupOutputs];
    GroupShape& shape = s_groupShape[phase];
    shape = {*row, 0};
    for (int g = 0; g < kGroupOutputs; ++g, advance(b, up, down)) {
        // Windows only move on, so checking each end in 64 bits before it
        // is narrowed bounds every step index below; a large down factor
        // runs past the rows within a few outputs.
        if (b.last + 1 > kGroupRows - *row) return false;
        begin[g] = static_cast<int>(b.first);
        end[g] = static_cast<int>(b.last + 1);
        phases[g] = -b.firstRemainder;
        shape.steps = end[g] > shape.steps ? end[g] : shape.steps;
    }
    for (int step = 0; step < shape.steps; ++step) {
        for (int g = 0; g < kGroupOutputs; ++g) {
            const int j = step - begin[g];
            const int t = phases[g] - s_firodr + j * up;
            s_groupTaps[*row + step][g] = j >= 0 && step < end[g] ? s_hfir[t < 0 ? -t : t] : 0.0;
        }
    }
    *row += shape.steps;
    return true;
}

void buildGroups(int up, int down) {
    s_groupsBuilt = false;
    if (up > kMaxPhases) return;
    int row = 0;
    for (int phase = 0; phase < up; ++phase)
        if (!buildGroup(phase, up, down, &row)) return;
    s_groupsBuilt = true;
}

// One group's sums: lanes 0-3 and 4-7 of the left values, then of the right.
using GroupSums = Quad[4];

QUORVEX_KERNEL_INLINE void groupStep(GroupSums& acc, const double* taps, const double* frame) {
    for (int h = 0; h < 2; ++h) {
        Quad t;
        loadQuad(t, taps + 4 * h);
#ifndef __clang__
        // Kept in a register: left to itself, GCC loads the taps again for
        // the right value, and the loads then set the pace. Clang refuses a
        // 256-bit register operand outside a wide function.
        __asm__("" : "+x"(t));
#endif
        acc[h] += t * frame[0];
        acc[2 + h] += t * frame[1];
    }
}

// A group walked on its own from `step`.
QUORVEX_KERNEL_INLINE void groupSteps(GroupSums& acc, const GroupShape& shape, int step,
                                      const double* frames) {
    const double* taps = s_groupTaps[shape.row];
    for (; step < shape.steps; ++step)
        groupStep(acc, taps + kGroupOutputs * step, frames + 2 * step);
}

QUORVEX_KERNEL_INLINE void storeGroup(const GroupSums& acc, double* out) {
    for (int g = 0; g < kGroupOutputs; ++g) {
        out[2 * g] = acc[g / 4][g % 4];
        out[2 * g + 1] = acc[2 + g / 4][g % 4];
    }
}

// Two consecutive groups side by side: one group's four sums wait on the
// latency of each addition, two keep eight in flight. `frames` are each
// group's frame 0 in a run that does not wrap.
QUORVEX_KERNEL_INLINE void groupPairSums(const GroupShape (&shape)[2],
                                         const double* const (&frames)[2], double* out) {
    GroupSums acc[2] = {};
    const double* taps[2] = {s_groupTaps[shape[0].row], s_groupTaps[shape[1].row]};
    const int common = shape[0].steps < shape[1].steps ? shape[0].steps : shape[1].steps;
    for (int step = 0; step < common; ++step) {
        for (int k = 0; k < 2; ++k)
            groupStep(acc[k], taps[k] + kGroupOutputs * step, frames[k] + 2 * step);
    }
    for (int k = 0; k < 2; ++k) {
        groupSteps(acc[k], shape[k], common, frames[k]);
        storeGroup(acc[k], out + 2 * kGroupOutputs * k);
    }
}

// Equal rates: every output takes all 8193 taps from its own first frame,
// one frame after the previous output's, so the left and right values of two
// neighbouring outputs' frames lie side by side in one vector. Sixteen
// outputs take each tap in turn; their eight vectors of sums stay in
// registers and each adds its products tap after tap. The frames come twice,
// from an even and from an odd first frame, so that no load straddles two
// cache lines.
constexpr int kEqualRateOutputs = 16;

QUORVEX_KERNEL_INLINE void equalRateTap(Quad (&acc)[kEqualRateOutputs / 2], double h,
                                        const double* window) {
    // Left to see that tap j + 2 reads most of tap j's frames again, the
    // optimiser keeps them in registers and pushes the sums out to memory.
    __asm__("" : "+r"(window));
    for (int p = 0; p < kEqualRateOutputs / 2; ++p) {
        Quad x;
        loadQuad(x, window + 4 * p);
        acc[p] += h * x;
    }
}

QUORVEX_KERNEL_INLINE void equalRateSums(const double* taps, const double* even, const double* odd,
                                         double* out) {
    constexpr int kTaps = 2 * s_firodr + 1;
    Quad acc[kEqualRateOutputs / 2] = {};
    int j = 0;
    for (; j + 2 <= kTaps; j += 2) {
        equalRateTap(acc, taps[j], even + 2 * j);
        equalRateTap(acc, taps[j + 1], odd + 2 * j);
    }
    equalRateTap(acc, taps[j], even + 2 * j);
    std::memcpy(out, acc, sizeof acc);
}

// Runs `groups` groups of outputs from `frames`, frame `from` of the stream
// in a run that does not wrap, moving the window on after each output.
QUORVEX_KERNEL_INLINE void blockSums(int64_t groups, const double* frames, const double* odd,
                                     int64_t from, double* out) {
    WindowBounds b{s_sptr, s_sptrr, s_eptr, s_eptrr};
    const auto nextGroup = [&](int size) {
        const double* first = frames + 2 * (b.first - from);
        for (int i = 0; i < size; ++i) advance(b, s_isrm, s_osrm);
        return first;
    };
    if (s_isrm == 1 && s_osrm == 1) {
        const double* taps = s_phaseTaps + s_phaseOffset[0];
        for (int64_t g = 0; g < groups; ++g, out += 2 * kEqualRateOutputs) {
            const int64_t offset = nextGroup(kEqualRateOutputs) - frames;
            equalRateSums(taps, frames + offset, odd + offset, out);
        }
    } else {
        int64_t g = 0;
        for (; g + 2 <= groups; g += 2, out += 4 * kGroupOutputs) {
            GroupShape shape[2];
            const double* first[2];
            for (int k = 0; k < 2; ++k) {
                shape[k] = s_groupShape[-b.firstRemainder];
                first[k] = nextGroup(kGroupOutputs);
            }
            groupPairSums(shape, first, out);
        }
        if (g < groups) {
            GroupSums acc = {};
            const GroupShape& shape = s_groupShape[-b.firstRemainder];
            groupSteps(acc, shape, 0, nextGroup(kGroupOutputs));
            storeGroup(acc, out);
        }
    }
    s_sptr = b.first;
    s_sptrr = b.firstRemainder;
    s_eptr = b.last;
    s_eptrr = b.lastRemainder;
}

// Off for a benchmark's baseline: the sums of at most four outputs at a time.
bool s_blockKernels = true;

#ifdef QUORVEX_WIDE_KERNELS
// The block kernels run only where the processor has 256-bit vectors: on
// narrower ones the compiler splits the vector type piece by piece, far slower
// than the 128-bit sums, which give the same bits.
const bool kWideSums = framework::wideKernelsRun();

QUORVEX_WIDE_TARGET void blockSumsWide(int64_t groups, const double* frames, const double* odd,
                                       int64_t from, double* out) {
    blockSums(groups, frames, odd, from, out);
}

// Copies `count` ring frames from `from` on, in order.
void copyFrames(int64_t from, int64_t count, double (*to)[2]) {
    const int64_t start = from & kRingMask;
    const int64_t head = start + count <= kRingFrames ? count : kRingFrames - start;
    std::memcpy(to, s_smpld[start], sizeof s_smpld[0] * head);
    std::memcpy(to[head], s_smpld[0], sizeof s_smpld[0] * (count - head));
}

// The ring frames `from` .. `to` as one run: straight from the ring, or copied
// out in order where they wrap around its end. Null when they are too many.
alignas(32) double s_windowCopy[kMaxBlockFrames + 2 * s_firodr + 4][2];
// The same run from its second frame on, for the equal-rate sums.
alignas(32) double s_oddCopy[kMaxBlockFrames + 2 * s_firodr + 4][2];
constexpr int64_t kCopyFrames = sizeof s_windowCopy / sizeof s_windowCopy[0];

const double* framesInOrder(int64_t from, int64_t to, bool aligned) {
    const int64_t count = to - from + 1;
    if (!aligned && (from & kRingMask) + count <= kRingFrames) return s_smpld[from & kRingMask];
    if (count > kCopyFrames) return nullptr;
    copyFrames(from, count, s_windowCopy);
    return s_windowCopy[0];
}

// The outputs of whole groups among the next `frames`; returns how many.
int64_t produceGroups(int64_t frames, double* out) {
    const bool equalRates = s_isrm == 1 && s_osrm == 1;
    if (!kWideSums || !s_blockKernels || !(equalRates || s_groupsBuilt)) return 0;
    if (!equalRates && s_lastNonFinite >= s_sptr) return 0;
    const int size = equalRates ? kEqualRateOutputs : kGroupOutputs;
    const int64_t groups = frames / size;
    if (groups == 0) return 0;
    // The last output's centre, and the last frame its window reaches.
    const int64_t centre = s_sptr * s_isrm + s_sptrr + s_firodr + (groups * size - 1) * s_osrm;
    const int64_t last = floorDiv(centre + s_firodr, s_isrm);
    const double* run = framesInOrder(s_sptr, last, equalRates);
    if (run == nullptr) return 0;
    if (equalRates) copyFrames(s_sptr + 1, last - s_sptr, s_oddCopy);
    blockSumsWide(groups, run, s_oddCopy[0], s_sptr, out);
    return groups * size;
}
#endif

// Writes `frames` outputs, moving the window on after each.
void produceFrames(int64_t frames, double* out) {
    constexpr int kSideBySide = 4;
    Window w[kSideBySide];
    int64_t i = 0;
#ifdef QUORVEX_WIDE_KERNELS
    i = produceGroups(frames, out);
#endif
    for (; i + kSideBySide <= frames; i += kSideBySide) {
        for (Window& each : w) {
            each = currentWindow();
            advanceWindow();
        }
        windowSums<kSideBySide>(w, out + 2 * i);
    }
    for (; i < frames; ++i) {
        w[0] = currentWindow();
        advanceWindow();
        windowSums<1>(w, out + 2 * i);
    }
}

// Output frames that `frames` more input frames complete, and the remainder
// carried past them.
int64_t outputFramesFor(int frames, int64_t* remainder) {
    const int64_t total = static_cast<int64_t>(frames) * s_nOutputFreq + s_outRemainder;
    *remainder = total % s_nInputFreq;
    return total / s_nInputFreq;
}

}  // namespace

ReSamplingWindow ReSamplingFilterWindow() {
    return {s_isrm, s_osrm, s_nImgFreq, s_iptr, s_sptr, s_sptrr, s_eptr, s_eptrr};
}

const double* ReSamplingFilterPrototype() { return s_hfir; }

void ReSamplingFilterUseBlockKernels(bool use) { s_blockKernels = use; }

int ReSamplingFilterInit(int inRate, int outRate) {
    if (inRate <= 0 || outRate <= 0) return -1;
    const int64_t m = commonMultiple(inRate, outRate);
    if (m <= 0) return -1;
    s_nInputFreq = inRate;
    s_nOutputFreq = outRate;
    s_isrm = static_cast<int>(m / inRate);
    s_osrm = static_cast<int>(m / outRate);
    s_nImgFreq = outRate * s_osrm;
    buildPrototype(outRate, s_isrm, s_nImgFreq);
    buildPhaseTable(s_isrm);
    buildGroups(s_isrm, s_osrm);
    std::memset(s_smpld, 0, sizeof s_smpld);
    s_iptr = 0;
    const int q0 = s_firodr / s_isrm;
    const int r0 = s_firodr % s_isrm;
    s_sptr = -q0;
    s_sptrr = -r0;
    s_eptr = q0;
    s_eptrr = r0;
    s_outRemainder = 0;
    s_lastNonFinite = INT64_MIN;
    return 0;
}

int ReSamplingFilterProcess(int inLength, const double* in, int outSize, double* out) {
    if (s_isrm == 0 || inLength < 0) return -1;
    const int frames = inLength / 2;
    if (frames > kMaxBlockFrames) return -1;
    int64_t remainder;
    const int64_t n = outputFramesFor(frames, &remainder);
    if (2 * n > outSize) return -1;
    s_outRemainder = remainder;

    if (s_iptr == 0) s_iptr = s_eptr;
    storeFrames(in, frames);
    produceFrames(n, out);
    return static_cast<int>(2 * n);
}

ReSamplingFilter::ReSamplingFilter(int inRate, int inBits, int outRate, int outBits)
    : inRate(inRate), inBits(inBits), outRate(outRate), outBits(outBits) {
    ReSamplingFilterInit(inRate, outRate);
}

ReSamplingFilter::~ReSamplingFilter() = default;

const char* ReSamplingFilter::getName() { return "ReSampling"; }

int ReSamplingFilter::setParamData(unsigned long, const void*, int) { return 0; }

int ReSamplingFilter::getParamData(unsigned long, void*, int) { return 0; }

void ReSamplingFilter::reset() { ReSamplingFilterInit(inRate, outRate); }

int ReSamplingFilter::process(const RealAudioBuffer* in, RealAudioBuffer* out) {
    if (in->sampleRate <= 0 || in->length < 0) return -1;
    if (in->sampleRate != inRate) {
        inRate = in->sampleRate;
        reset();
    }
    if (s_isrm == 0) return -1;

    const int64_t expected = static_cast<int64_t>(in->length) * outRate / in->sampleRate;
    int64_t remainder;
    const int64_t produced = 2 * outputFramesFor(in->length / 2, &remainder);
    if (out->capacity < expected || out->capacity < produced) return -1;

    // Longer blocks go through the kernel in pieces; the carried remainder
    // makes that the same as one long block.
    constexpr int kPieceDoubles = 2 * kMaxBlockFrames;
    int written = 0;
    for (int offset = 0; offset < in->length; offset += kPieceDoubles) {
        const int piece = in->length - offset < kPieceDoubles ? in->length - offset : kPieceDoubles;
        written += ReSamplingFilterProcess(piece, in->data + offset, out->capacity - written,
                                           out->data + written);
    }
    out->length = written;
    out->sampleRate = outRate;
    out->bitsPerSample = outBits;
    return 0;
}
