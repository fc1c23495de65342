#include "rate/velmo/VelmoSections.h"

#include <quorvex/Velmo.h>

#include <cmath>
#include <cstddef>
#include <initializer_list>

#include "dsp/Section.h"
#include "framework/KernelChoice.h"
#include "rate/velmo/VelmoBlocks.h"
#include "rate/velmo/VelmoState.h"
#include "rate/velmo/VelmoTables.h"

// The passes over the delay lines are built a second time for 256-bit
// vectors where the compiler can (runTwoSteps, runHeldSteps).

namespace velmo_state {

double sOff_hf_d[2 * 65];
double sVelmoCDlf_d[2 * 33];
double sVelmoCDhf32_d[2 * 33];
double sVelmoCDhf128_d[2 * 129];
double sVelmoMP3lf_d[2 * 33];
double sVelmoMP3hf32_d[2 * 33];
double sVelmoMP3hf128_d[2 * 129];
double sDecAM_ul[kDecAMTaps];
double sDecAM_ur[kDecAMTaps];
double sVelmohpf2_d[2 * 33];
BiquadState sCDlpf2;
BiquadState sMP3lpf2;

}  // namespace velmo_state

using namespace velmo_state;

namespace {

// The pre-emphasis sections' states.
BiquadState sFine44K24;
BiquadState sFine44K16;
BiquadState sSuper44K24;
BiquadState sSuper44K16;
BiquadState sFine48K24;
BiquadState sFine48K16;
BiquadState sSuper48K24;
BiquadState sSuper48K16;

template <std::size_t N>
void clear(double (&line)[N]) {
    for (double& v : line) v = 0.0;
}

inline void biquadStep(const VelmoBiquadCoeffs& c, BiquadState& s, double inL, double inR,
                       double* outL, double* outR) {
    *outL = dsp::runSection(c, s.left, inL);
    *outR = dsp::runSection(c, s.right, inR);
}

// Two steps of one channel of an N-tap FIR in transposed form, input x0 then
// x1, in one pass over the line. Each element receives the second step's
// product added to what the first step left one place up, so every value is
// formed by the same products and sums, in the same order, as with two single
// steps. The current input is included: there is no extra frame of delay.
template <std::size_t N>
QUORVEX_KERNEL_INLINE void firTwoStepsChannel(const std::array<double, N>& h, double* line,
                                              double x0, double x1, double& y0, double& y1) {
    y0 = x0 * h[0] + line[1];
    for (std::size_t k = 0; k + 2 < N; ++k) line[k] = x1 * h[k] + (x0 * h[k + 1] + line[k + 2]);
    line[N - 2] = x1 * h[N - 2] + x0 * h[N - 1];
    line[N - 1] = x1 * h[N - 1];
    y1 = line[0];
}

// The left channel's line is 0 .. N-1, the right's N .. 2N-1; they are
// independent lanes.
template <std::size_t N>
QUORVEX_KERNEL_INLINE VelmoInstants firTwoSteps(const std::array<double, N>& h,
                                                double (&line)[2 * N], const VelmoInstants& x) {
    VelmoInstants y;
    firTwoStepsChannel(h, line, x[0].l, x[1].l, y[0].l, y[1].l);
    firTwoStepsChannel(h, line + N, x[0].r, x[1].r, y[0].r, y[1].r);
    return y;
}

// The two steps with the input held for both, as in the interpolating
// low-passes: firTwoStepsChannel with x0 = x1, kept apart so that the compiler
// sees that one element's product for tap k + 1 is the next one's for tap k.
template <std::size_t N>
QUORVEX_KERNEL_INLINE void firHeldStepsChannel(const std::array<double, N>& h, double* line,
                                               double x, double* out0, double* out1) {
    const double first = x * h[0] + line[1];
    for (std::size_t k = 0; k + 2 < N; ++k) line[k] = x * h[k] + (x * h[k + 1] + line[k + 2]);
    line[N - 2] = x * h[N - 2] + x * h[N - 1];
    line[N - 1] = x * h[N - 1];
    *out0 = first;
    *out1 = line[0];
}

template <std::size_t N>
QUORVEX_KERNEL_INLINE void firHeldSteps(const std::array<double, N>& h, double (&line)[2 * N],
                                        double xL, double xR, double* out0L, double* out0R,
                                        double* out1L, double* out1R) {
    firHeldStepsChannel(h, line, xL, out0L, out1L);
    firHeldStepsChannel(h, line + N, xR, out0R, out1R);
}

#ifdef QUORVEX_WIDE_KERNELS
// The same passes built for 256-bit vectors, taken where the processor has
// them unless the plain kernels were asked for. The loops are vectorised only
// across the taps of a transposed update, independent lanes that each do the
// same multiplications and additions in the same order, so both builds give
// the same bits.
const bool kWideLines = framework::wideKernelsRun();

template <std::size_t N>
QUORVEX_WIDE_TARGET VelmoInstants firTwoStepsWide(const std::array<double, N>& h,
                                                  double (&line)[2 * N], const VelmoInstants& x) {
    return firTwoSteps(h, line, x);
}

template <std::size_t N>
QUORVEX_WIDE_TARGET void firHeldStepsWide(const std::array<double, N>& h, double (&line)[2 * N],
                                          double xL, double xR, double* out0L, double* out0R,
                                          double* out1L, double* out1R) {
    firHeldSteps(h, line, xL, xR, out0L, out0R, out1L, out1R);
}
#endif

// Each pass runs in the widest build the processor takes.
template <std::size_t N>
VelmoInstants runTwoSteps(const std::array<double, N>& h, double (&line)[2 * N],
                          const VelmoInstants& x) {
#ifdef QUORVEX_WIDE_KERNELS
    if (kWideLines) return firTwoStepsWide(h, line, x);
#endif
    return firTwoSteps(h, line, x);
}

template <std::size_t N>
void runHeldSteps(const std::array<double, N>& h, double (&line)[2 * N], double xL, double xR,
                  double* out0L, double* out0R, double* out1L, double* out1R) {
#ifdef QUORVEX_WIDE_KERNELS
    if (kWideLines) {
        firHeldStepsWide(h, line, xL, xR, out0L, out0R, out1L, out1R);
        return;
    }
#endif
    firHeldSteps(h, line, xL, xR, out0L, out0R, out1L, out1R);
}

// Two envelope steps of one channel, input x0 then x1. `u` holds the newest
// input in u[0] and u[1] and older ones above; the transform sums its window
// (newest first, zero centre tap skipped) in increasing k, and the in-phase
// part is the input eight frames back, the transformer's group delay.
inline void envelopeTwoSteps(double (&u)[kDecAMTaps], double x0, double x1, double& y0,
                             double& y1) {
    double h0 = sDecAM_hn[0] * x0;
    double h1 = sDecAM_hn[0] * x1;
    h1 = h1 + sDecAM_hn[1] * x0;
    for (int k = 1; k < kDecAMTaps; ++k)
        if (k != kDecAMCentre) h0 = h0 + sDecAM_hn[k] * u[k];
    for (int k = 2; k < kDecAMTaps; ++k)
        if (k != kDecAMCentre) h1 = h1 + sDecAM_hn[k] * u[k - 1];
    // The sum of the two absolute values, not the Euclidean magnitude: this
    // rectification is what creates the new high-frequency content.
    y0 = std::fabs(u[kDecAMCentre]) + std::fabs(h0);
    y1 = std::fabs(u[kDecAMCentre - 1]) + std::fabs(h1);
    for (int k = kDecAMTaps - 1; k > 2; --k) u[k] = u[k - 2];
    u[2] = x0;
    u[1] = x1;
    u[0] = x1;
}

}  // namespace

bool VelmoWideLines() {
#ifdef QUORVEX_WIDE_KERNELS
    return kWideLines;
#else
    return false;
#endif
}

void VelmoVisitHistory(void (*visit)(const double* values, int count)) {
    VelmoSettleBlocks();
    const auto line = [visit](const auto& values) {
        visit(values, static_cast<int>(sizeof values / sizeof values[0]));
    };
    line(sOff_hf_d);
    line(sVelmoCDlf_d);
    line(sVelmoCDhf32_d);
    line(sVelmoCDhf128_d);
    line(sVelmoMP3lf_d);
    line(sVelmoMP3hf32_d);
    line(sVelmoMP3hf128_d);
    line(sDecAM_ul);
    line(sDecAM_ur);
    line(sVelmohpf2_d);
    for (const BiquadState* s :
         {&sCDlpf2, &sMP3lpf2, &sFine44K24, &sFine44K16, &sSuper44K24, &sSuper44K16, &sFine48K24,
          &sFine48K16, &sSuper48K24, &sSuper48K16}) {
        const double values[] = {s->left.d1, s->left.d2, s->right.d1, s->right.d2};
        visit(values, 4);
    }
}

void VelmoInit() {
    VelmoSettleBlocks();
    clear(sOff_hf_d);
    clear(sDecAM_ul);
    clear(sDecAM_ur);
    clear(sVelmoCDlf_d);
    clear(sVelmoCDhf32_d);
    clear(sVelmoCDhf128_d);
    clear(sVelmoMP3lf_d);
    clear(sVelmoMP3hf32_d);
    clear(sVelmoMP3hf128_d);
}

void VelmoOffhf(double inL, double inR, double* out0L, double* out0R, double* out1L,
                double* out1R) {
    runHeldSteps(sOff_hf, sOff_hf_d, inL, inR, out0L, out0R, out1L, out1R);
}

void VelmoCDlf(double inL, double inR, double* out0L, double* out0R, double* out1L, double* out1R) {
    runHeldSteps(sVelmoCDlf, sVelmoCDlf_d, inL, inR, out0L, out0R, out1L, out1R);
}

void VelmoMP3lf(double inL, double inR, double* out0L, double* out0R, double* out1L,
                double* out1R) {
    runHeldSteps(sVelmoMP3lf, sVelmoMP3lf_d, inL, inR, out0L, out0R, out1L, out1R);
}

VelmoInstants VelmoCDhf32(const VelmoInstants& in) {
    return runTwoSteps(sVelmoCDhf32, sVelmoCDhf32_d, in);
}

VelmoInstants VelmoCDhf128(const VelmoInstants& in) {
    return runTwoSteps(sVelmoCDhf128, sVelmoCDhf128_d, in);
}

VelmoInstants VelmoMP3hf32(const VelmoInstants& in) {
    return runTwoSteps(sVelmoMP3hf32, sVelmoMP3hf32_d, in);
}

VelmoInstants VelmoMP3hf128(const VelmoInstants& in) {
    return runTwoSteps(sVelmoMP3hf128, sVelmoMP3hf128_d, in);
}

VelmoInstants Velmohpf2(const VelmoInstants& in) {
    return runTwoSteps(sVelmohpf2, sVelmohpf2_d, in);
}

VelmoInstants dec_am(const VelmoInstants& in) {
    VelmoInstants y;
    envelopeTwoSteps(sDecAM_ul, in[0].l, in[1].l, y[0].l, y[1].l);
    envelopeTwoSteps(sDecAM_ur, in[0].r, in[1].r, y[0].r, y[1].r);
    return y;
}

void VelmoCDlpf2(double inL, double inR, double* outL, double* outR) {
    biquadStep(sVelmoLpf2, sCDlpf2, inL, inR, outL, outR);
}

void VelmoMP3lpf2(double inL, double inR, double* outL, double* outR) {
    biquadStep(sVelmoLpf2, sMP3lpf2, inL, inR, outL, outR);
}

void Velmo_Fine_44K_24(double inL, double inR, double* outL, double* outR) {
    biquadStep(sVelmoFine44K, sFine44K24, inL, inR, outL, outR);
}

void Velmo_Fine_44K_16(double inL, double inR, double* outL, double* outR) {
    biquadStep(sVelmoFine44K, sFine44K16, inL, inR, outL, outR);
}

void Velmo_Super_44K_24(double inL, double inR, double* outL, double* outR) {
    biquadStep(sVelmoSuper44K, sSuper44K24, inL, inR, outL, outR);
}

void Velmo_Super_44K_16(double inL, double inR, double* outL, double* outR) {
    biquadStep(sVelmoSuper44K, sSuper44K16, inL, inR, outL, outR);
}

void Velmo_Fine_48K_24(double inL, double inR, double* outL, double* outR) {
    biquadStep(sVelmoFine48K24, sFine48K24, inL, inR, outL, outR);
}

void Velmo_Fine_48K_16(double inL, double inR, double* outL, double* outR) {
    biquadStep(sVelmoFine48K16, sFine48K16, inL, inR, outL, outR);
}

void Velmo_Super_48K_24(double inL, double inR, double* outL, double* outR) {
    biquadStep(sVelmoSuper48K24, sSuper48K24, inL, inR, outL, outR);
}

void Velmo_Super_48K_16(double inL, double inR, double* outL, double* outR) {
    biquadStep(sVelmoSuper48K16, sSuper48K16, inL, inR, outL, outR);
}

VelmoSectionParts VelmoPreEmphasisParts(VelmoStereoStep step) {
    struct PreEmphasis {
        VelmoStereoStep step;
        const VelmoBiquadCoeffs& coeffs;
        BiquadState& state;
    };
    const PreEmphasis sections[] = {
        {Velmo_Fine_44K_24, sVelmoFine44K, sFine44K24},
        {Velmo_Fine_44K_16, sVelmoFine44K, sFine44K16},
        {Velmo_Super_44K_24, sVelmoSuper44K, sSuper44K24},
        {Velmo_Super_44K_16, sVelmoSuper44K, sSuper44K16},
        {Velmo_Fine_48K_24, sVelmoFine48K24, sFine48K24},
        {Velmo_Fine_48K_16, sVelmoFine48K16, sFine48K16},
        {Velmo_Super_48K_24, sVelmoSuper48K24, sSuper48K24},
        {Velmo_Super_48K_16, sVelmoSuper48K16, sSuper48K16},
    };
    for (const PreEmphasis& s : sections)
        if (s.step == step) return {&s.coeffs, &s.state.left, &s.state.right};
    return {nullptr, nullptr, nullptr};
}
