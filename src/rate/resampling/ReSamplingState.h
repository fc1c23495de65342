#ifndef QUORVEX_RATE_RESAMPLING_RESAMPLINGSTATE_H
#define QUORVEX_RATE_RESAMPLING_RESAMPLINGSTATE_H

#include <cstdint>

// A snapshot of the shared converter's configuration and window, for tests.
// Absolute input index k sits at k x up on the intermediate-rate axis.
struct ReSamplingWindow {
    int up;                // intermediate rate / input rate
    int down;              // intermediate rate / output rate
    int intermediateRate;  // least common multiple of the two rates
    int64_t next;          // absolute index of the next input frame; 0 before the first block
    int64_t first;         // first input index of the next output's window
    int firstRemainder;    // first x up + firstRemainder = centre - 4096
    int64_t last;          // last input index of the next output's window
    int lastRemainder;     // last x up + lastRemainder = centre + 4096
};

ReSamplingWindow ReSamplingFilterWindow();

// The right half of the prototype low-pass: entry i is the tap i
// intermediate samples from the centre, for i = 0 .. 4096.
const double* ReSamplingFilterPrototype();

// Whether whole groups of outputs go through the block kernels (the default)
// or every sum runs at most four outputs at a time, as a benchmark baseline.
// Both give the same bits.
void ReSamplingFilterUseBlockKernels(bool use);

#endif
