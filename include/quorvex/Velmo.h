#ifndef QUORVEX_VELMO_H
#define QUORVEX_VELMO_H

#include <quorvex/export.h>

// The up-sampling enhancer's per-frame kernels. Each turns one stereo input
// frame into two output frames at twice the rate: (outL0, outR0) first, then
// (outL1, outR1), usually four consecutive doubles of an interleaved block.
// All history is process-wide: the kernels are not reentrant, and every
// UpSamplingFilter in the process shares it.

// Clears the FIR delay lines and the envelope detector's history. The
// high-pass line in front of the detector and the biquad sections (the
// kernels' output sections and the filter's pre-emphasis) keep theirs.
QUORVEX_API void VelmoInit();

// Plain interpolation: a 65-tap low-pass over the input held for two output
// periods.
QUORVEX_API void Velmo_OFF(double inL, double inR, double* outL0, double* outR0, double* outL1,
                           double* outR1);

// Enhancers for full-band sources (band split at 0.2084 of the output rate)
// and for sources band-limited to about 16 kHz (split at 1/6): interpolation
// below the split plus content above it synthesised from the envelope of the
// upper treble. The 32 variants use a 33-tap instead of a 129-tap high band.
QUORVEX_API void VelmoCDUpSampler(double inL, double inR, double* outL0, double* outR0,
                                  double* outL1, double* outR1);
QUORVEX_API void VelmoMP3UpSampler(double inL, double inR, double* outL0, double* outR0,
                                   double* outL1, double* outR1);
QUORVEX_API void VelmoCDUpSampler32(double inL, double inR, double* outL0, double* outR0,
                                    double* outL1, double* outR1);
QUORVEX_API void VelmoMP3UpSampler32(double inL, double inR, double* outL0, double* outR0,
                                     double* outL1, double* outR1);

#endif
