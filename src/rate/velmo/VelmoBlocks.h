#ifndef QUORVEX_RATE_VELMO_VELMOBLOCKS_H
#define QUORVEX_RATE_VELMO_VELMOBLOCKS_H

// The enhancer over whole blocks of interleaved stereo frames, frame i of `x`
// becoming output doubles 4i .. 4i+3 of `y`. Every output double and the
// history left behind are those of one per-frame kernel call per frame (with
// `section` run on the frame first); the lines run in direct form over their
// inputs and keep them from block to block, and are brought back to their
// transposed form only when a per-frame call or a reset needs it.

#include "rate/velmo/VelmoSections.h"

enum class VelmoKernel { kCD, kMP3, kCD32, kMP332 };

// Velmo_OFF frame by frame.
void VelmoInterpolateBlock(const double* x, double* y, int frames);

// `section`, one of the pre-emphasis sections, then the enhancer kernel
// `kernel`, frame by frame.
void VelmoEnhanceBlock(VelmoKernel kernel, VelmoStereoStep section, const double* x, double* y,
                       int frames);

// Brings every line and the envelope history back to the form the per-frame
// kernels use; they, VelmoInit and VelmoVisitHistory call it first. Cheap
// when no block ran since the last call.
void VelmoSettleBlocks();

#endif
