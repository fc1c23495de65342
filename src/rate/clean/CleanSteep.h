#ifndef QUORVEX_RATE_CLEAN_CLEANSTEEP_H
#define QUORVEX_RATE_CLEAN_CLEANSTEEP_H

// The steep stage of the two-stage converter: a long linear-phase low-pass
// at twice the lower rate, run by overlap-save FFT convolution on both
// channels at once (left real, right imaginary).

#include <algorithm>
#include <cstdint>
#include <vector>

#include "rate/clean/CleanFft.h"

namespace quorvex::clean {

class SteepStage {
public:
    // A low-pass at `rate` flat to passHz and stopping from stopHz, with
    // `gain` at 0 Hz. Samples come in runs of `grain` (2 when every second
    // one is a stuffed zero) and each run gives as many outputs at once.
    SteepStage(int rate, double passHz, double stopHz, double gain, int grain);

    // How many samples later than its input the output comes.
    double delaySamples() const { return lead + 0.5 * (taps - 1); }

    void clear();

    // Takes `count` samples, a multiple of the grain, written by
    // fill(re, im, first, n) for samples [first, first + n), and hands as many
    // outputs to emit(re, im, n) in order.
    template <typename Fill, typename Emit>
    void stream(int64_t count, Fill fill, Emit emit) {
        for (int64_t done = 0; done < count;) {
            const int n = static_cast<int>(std::min<int64_t>(count - done, hop - filled));
            fill(blockRe.data() + taps - 1 + filled, blockIm.data() + taps - 1 + filled, done, n);
            filled += n;
            const int early = std::min(n, hop - read);
            emitQueued(early, emit);
            if (filled == hop) convolveBlock();
            emitQueued(n - early, emit);
            done += n;
        }
    }

private:
    template <typename Emit>
    void emitQueued(int n, Emit& emit) {
        if (n == 0) return;
        emit(queueRe.data() + read, queueIm.data() + read, n);
        read += n;
    }

    void convolveBlock();

    FftConvolver fft;
    int taps;
    int hop;   // new samples per block
    int lead;  // silence ahead of the first sample, so every owed output is ready
    // The block's input: taps - 1 samples kept from the last block, then
    // `filled` new ones.
    std::vector<float> blockRe, blockIm;
    std::vector<float> workRe, workIm;
    // The last block's outputs, handed on from `read`.
    std::vector<float> queueRe, queueIm;
    int filled = 0;
    int read = 0;
};

}  // namespace quorvex::clean

#endif
