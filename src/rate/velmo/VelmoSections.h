#ifndef QUORVEX_RATE_VELMO_VELMOSECTIONS_H
#define QUORVEX_RATE_VELMO_VELMOSECTIONS_H

// Building blocks of the up-sampling enhancer. The delay lines and the
// envelope detector take the frames of both output instants of a kernel call
// at once; the biquad sections take one stereo frame by value and write their
// results through the pointers, so a caller may pass the addresses of the
// variables that held the input. All history is process-wide and private to
// VelmoSections.cpp; VelmoInit (exported) clears the FIR lines and the
// envelope history but never the high-pass line or any section state.

#include <array>

#include "dsp/Section.h"

struct VelmoFrame {
    double l, r;
};

// The frames of a kernel call's two output instants, the first one first.
using VelmoInstants = std::array<VelmoFrame, 2>;

using VelmoStereoStep = void (*)(double inL, double inR, double* outL, double* outR);
using VelmoHeldSteps = void (*)(double inL, double inR, double* out0L, double* out0R, double* out1L,
                                double* out1R);
using VelmoTwoSteps = VelmoInstants (*)(const VelmoInstants& in);

// The FIR lines of the kernels, each with its own table. Every line advances
// two steps per call, one per output instant, in a single pass: the
// interpolating low-passes see the input held for both instants, the high
// bands take the envelope of each instant.
void VelmoOffhf(double inL, double inR, double* out0L, double* out0R, double* out1L, double* out1R);
void VelmoCDlf(double inL, double inR, double* out0L, double* out0R, double* out1L, double* out1R);
void VelmoMP3lf(double inL, double inR, double* out0L, double* out0R, double* out1L, double* out1R);
VelmoInstants VelmoCDhf32(const VelmoInstants& in);
VelmoInstants VelmoCDhf128(const VelmoInstants& in);
VelmoInstants VelmoMP3hf32(const VelmoInstants& in);
VelmoInstants VelmoMP3hf128(const VelmoInstants& in);

// The high-pass in front of the envelope detector, two steps; its line is
// shared by all enhancer kernels and never cleared.
VelmoInstants Velmohpf2(const VelmoInstants& in);

// Envelope detector, two steps: |input 8 frames back| + |Hilbert transform of
// the input|.
VelmoInstants dec_am(const VelmoInstants& in);

// Hands every array of the enhancer's process-wide history to `visit`, in a
// fixed order: the FIR lines, the envelope history, the high-pass line, then
// each section's four doubles. Lets a test fingerprint the state a run leaves.
void VelmoVisitHistory(void (*visit)(const double* values, int count));

// Whether the FIR lines run their 256-bit build: where the processor has it
// and the plain kernels were not asked for.
bool VelmoWideLines();

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

// A pre-emphasis section's coefficients and its channels' histories, for a
// block pass that runs it beside other work; all null for any other step.
struct VelmoSectionParts {
    const dsp::SectionCoeffs* coeffs;
    dsp::SectionHistory<double>* left;
    dsp::SectionHistory<double>* right;
};
VelmoSectionParts VelmoPreEmphasisParts(VelmoStereoStep step);

#endif
