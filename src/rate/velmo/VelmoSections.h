#ifndef QUORVEX_RATE_VELMO_VELMOSECTIONS_H
#define QUORVEX_RATE_VELMO_VELMOSECTIONS_H

// Building blocks of the up-sampling enhancer. Each takes one stereo frame by
// value and writes its results through the pointers, so a caller may pass the
// addresses of the variables that held the input. All history is process-wide
// and private to VelmoSections.cpp; VelmoInit (exported) clears the FIR lines
// and the envelope history but never the high-pass line or any section state.

#include <array>
#include <cstddef>

// One step of an N-tap FIR in transposed form on `line` (left channel in
// 0 .. N-1, right in N .. 2N-1): the current input is included, so there is
// no extra frame of delay. Every tap is a product added to the older partial
// sum, in increasing k; left and right are independent lanes.
template <std::size_t N>
inline void velmoFirStep(const std::array<double, N>& h, double (&line)[2 * N], double xL,
                         double xR, double* outL, double* outR) {
    double* left = line;
    double* right = line + N;
    for (std::size_t k = 0; k + 1 < N; ++k) left[k] = xL * h[k] + left[k + 1];
    for (std::size_t k = 0; k + 1 < N; ++k) right[k] = xR * h[k] + right[k + 1];
    left[N - 1] = xL * h[N - 1];
    right[N - 1] = xR * h[N - 1];
    *outL = left[0];
    *outR = right[0];
}

template <std::size_t N>
inline void velmoHeldStepsChannel(const std::array<double, N>& h, double* line, double x,
                                  double* out0, double* out1) {
    const double first = x * h[0] + line[1];
    for (std::size_t k = 0; k + 2 < N; ++k) line[k] = x * h[k] + (x * h[k + 1] + line[k + 2]);
    line[N - 2] = x * h[N - 2] + x * h[N - 1];
    line[N - 1] = x * h[N - 1];
    *out0 = first;
    *out1 = line[0];
}

// Two steps with the same input, as when the input is held for two output
// periods: the same products and sums as two velmoFirStep calls, in one pass
// over the line.
template <std::size_t N>
inline void velmoFirHeldSteps(const std::array<double, N>& h, double (&line)[2 * N], double xL,
                              double xR, double* out0L, double* out0R, double* out1L,
                              double* out1R) {
    velmoHeldStepsChannel(h, line, xL, out0L, out1L);
    velmoHeldStepsChannel(h, line + N, xR, out0R, out1R);
}

using VelmoStereoStep = void (*)(double inL, double inR, double* outL, double* outR);
using VelmoHeldSteps = void (*)(double inL, double inR, double* out0L, double* out0R,
                                double* out1L, double* out1R);

// The FIR lines of the kernels, each with its own table. The interpolating
// low-passes see the input held and advance two steps per call; the high
// bands advance one.
void VelmoOffhf(double inL, double inR, double* out0L, double* out0R, double* out1L,
                double* out1R);
void VelmoCDlf(double inL, double inR, double* out0L, double* out0R, double* out1L,
               double* out1R);
void VelmoMP3lf(double inL, double inR, double* out0L, double* out0R, double* out1L,
                double* out1R);
void VelmoCDhf32(double inL, double inR, double* outL, double* outR);
void VelmoCDhf128(double inL, double inR, double* outL, double* outR);
void VelmoMP3hf32(double inL, double inR, double* outL, double* outR);
void VelmoMP3hf128(double inL, double inR, double* outL, double* outR);

// The high-pass in front of the envelope detector; its line is shared by all
// enhancer kernels and never cleared.
void Velmohpf2(double inL, double inR, double* outL, double* outR);

// Envelope detector: |input 8 frames back| + |Hilbert transform of the input|.
void dec_am(double inL, double inR, double* outL, double* outR);

// Output sections of the kernels.
void VelmoCDlpf2(double inL, double inR, double* outL, double* outR);
void VelmoMP3lpf2(double inL, double inR, double* outL, double* outR);

// Pre-emphasis sections, run on the input frame ahead of a kernel.
void Velmo_Fine_44K_24(double inL, double inR, double* outL, double* outR);
void Velmo_Fine_44K_16(double inL, double inR, double* outL, double* outR);
void Velmo_Super_44K_24(double inL, double inR, double* outL, double* outR);
void Velmo_Super_44K_16(double inL, double inR, double* outL, double* outR);
void Velmo_Fine_48K_24(double inL, double inR, double* outL, double* outR);
void Velmo_Fine_48K_16(double inL, double inR, double* outL, double* outR);
void Velmo_Super_48K_24(double inL, double inR, double* outL, double* outR);
void Velmo_Super_48K_16(double inL, double inR, double* outL, double* outR);

#endif
