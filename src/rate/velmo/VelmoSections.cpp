#include "rate/velmo/VelmoSections.h"

#include <quorvex/Velmo.h>

#include <cmath>

#include "rate/velmo/VelmoTables.h"

namespace {

// FIR delay lines, two channels each; VelmoInit clears them.
double sOff_hf_d[2 * 65];
double sVelmoCDlf_d[2 * 33];
double sVelmoCDhf32_d[2 * 33];
double sVelmoCDhf128_d[2 * 129];
double sVelmoMP3lf_d[2 * 33];
double sVelmoMP3hf32_d[2 * 33];
double sVelmoMP3hf128_d[2 * 129];

// The last 17 inputs of the envelope detector, newest first; VelmoInit clears them.
constexpr int kDecAMTaps = 17;
constexpr int kDecAMCentre = 8;
double sDecAM_ul[kDecAMTaps];
double sDecAM_ur[kDecAMTaps];

// Section states and the high-pass line are never cleared: they run from load
// to exit.
struct BiquadState {
    double dl11, dl12, dr11, dr12;
};

BiquadState sCDlpf2;
BiquadState sMP3lpf2;
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

// Direct form II; w1 and w2 are the internal values one and two frames back.
inline double biquadChannel(const VelmoBiquadCoeffs& c, double& w1, double& w2, double x) {
    const double f = c.a1 * w1 + c.a2 * w2;
    const double g = c.b1 * w1 + c.b2 * w2;
    const double w = f + x;
    const double y = c.b0 * w + g;
    w2 = w1;
    w1 = w;
    return y;
}

inline void biquadStep(const VelmoBiquadCoeffs& c, BiquadState& s, double inL, double inR,
                       double* outL, double* outR) {
    *outL = biquadChannel(c, s.dl11, s.dl12, inL);
    *outR = biquadChannel(c, s.dr11, s.dr12, inR);
}

// Shifts `x` in as the newest input and returns the Hilbert transform of the
// last 17 inputs (the zero centre tap skipped); `delayed` receives the input
// of eight frames back, the transformer's group delay.
inline double hilbertStep(double (&u)[kDecAMTaps], double x, double* delayed) {
    u[0] = x;
    double h = sDecAM_hn[0] * u[0];
    for (int k = 1; k < kDecAMCentre; ++k) h = h + sDecAM_hn[k] * u[k];
    for (int k = kDecAMCentre + 1; k < kDecAMTaps; ++k) h = h + sDecAM_hn[k] * u[k];
    *delayed = u[kDecAMCentre];
    for (int k = kDecAMTaps - 1; k > 0; --k) u[k] = u[k - 1];
    return h;
}

}  // namespace

void VelmoInit() {
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
    velmoFirHeldSteps(sOff_hf, sOff_hf_d, inL, inR, out0L, out0R, out1L, out1R);
}

void VelmoCDlf(double inL, double inR, double* out0L, double* out0R, double* out1L,
               double* out1R) {
    velmoFirHeldSteps(sVelmoCDlf, sVelmoCDlf_d, inL, inR, out0L, out0R, out1L, out1R);
}

void VelmoCDhf32(double inL, double inR, double* outL, double* outR) {
    velmoFirStep(sVelmoCDhf32, sVelmoCDhf32_d, inL, inR, outL, outR);
}

void VelmoCDhf128(double inL, double inR, double* outL, double* outR) {
    velmoFirStep(sVelmoCDhf128, sVelmoCDhf128_d, inL, inR, outL, outR);
}

void VelmoMP3lf(double inL, double inR, double* out0L, double* out0R, double* out1L,
                double* out1R) {
    velmoFirHeldSteps(sVelmoMP3lf, sVelmoMP3lf_d, inL, inR, out0L, out0R, out1L, out1R);
}

void VelmoMP3hf32(double inL, double inR, double* outL, double* outR) {
    velmoFirStep(sVelmoMP3hf32, sVelmoMP3hf32_d, inL, inR, outL, outR);
}

void VelmoMP3hf128(double inL, double inR, double* outL, double* outR) {
    velmoFirStep(sVelmoMP3hf128, sVelmoMP3hf128_d, inL, inR, outL, outR);
}

void Velmohpf2(double inL, double inR, double* outL, double* outR) {
    static double d[2 * 33];
    velmoFirStep(sVelmohpf2, d, inL, inR, outL, outR);
}

// The sum of the two absolute values, not the Euclidean magnitude: this
// rectification is what creates the new high-frequency content.
void dec_am(double inL, double inR, double* outL, double* outR) {
    double cL, cR;
    const double hL = hilbertStep(sDecAM_ul, inL, &cL);
    const double hR = hilbertStep(sDecAM_ur, inR, &cR);
    *outL = std::fabs(cL) + std::fabs(hL);
    *outR = std::fabs(cR) + std::fabs(hR);
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
