#ifndef QUORVEX_RATE_VELMO_VELMOBLOCKS_H
#define QUORVEX_RATE_VELMO_VELMOBLOCKS_H

// The enhancer over whole blocks of interleaved stereo frames, frame i of `x`
// becoming output doubles 4i .. 4i+3 of `y`. Every output double and the
// history left behind are those of one per-frame kernel call per frame (with
// `section` run on the frame first); the lines run in direct form over the
// block's inputs and are brought back to their transposed form at its end.

#include "rate/velmo/VelmoSections.h"

enum class VelmoKernel { kCD, kMP3, kCD32, kMP332 };

// Velmo_OFF frame by frame.
void VelmoInterpolateBlock(const double* x, double* y, int frames);

// `section`, then the enhancer kernel `kernel`, frame by frame.
void VelmoEnhanceBlock(VelmoKernel kernel, VelmoStereoStep section, const double* x, double* y,
                       int frames);

#endif
