#ifndef QUORVEX_RATE_CLEAN_CLEANKERNELS_H
#define QUORVEX_RATE_CLEAN_CLEANKERNELS_H

// The clean converter's inner loop: the polyphase sums of consecutive
// outputs over planar float history.

#include <cstdint>

namespace quorvex::clean {

// The phase table and how far one output moves the window.
struct Plan {
    const float* table;  // the first tap of run 0
    int stride;          // floats from one run to the next
    int taps;
    int up;
    int stepFrames;  // whole input frames per output: down / up
    int stepPhase;   // and the phases beyond them: down % up
};

// Where the next output's window starts in the history, and its phase.
struct Cursor {
    int64_t first = 0;
    int phase = 0;
};

// Writes `count` interleaved stereo outputs to `out`, moving `cursor` on.
// Each output is the sum of taps x history over its window in float, by
// fused multiply-adds into eight lanes per channel: lane i takes, in order,
// the history frames whose position is i modulo 8, and the lanes are then
// reduced in one fixed order. Every build gives the same bits, and an
// output's bits do not depend on the outputs computed beside it, provided
// the history only ever moves by whole multiples of 8 frames. The history
// must be readable 8 frames past the last window.
void produceOutputs(const Plan& plan, const float* left, const float* right, Cursor& cursor,
                    int64_t count, double* out);

}  // namespace quorvex::clean

#endif
