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
    // A low-pass at `rate` flat to passHz and stopping from stopHz. Rising,
    // every second sample is a stuffed zero, samples come in pairs and each
    // pair gives two outputs at once; falling, only every second output is
    // used: those the stream hands on at odd positions, counted from 0.
    SteepStage(int rate, double passHz, double stopHz, bool rise);

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
    bool rising;
    int taps;
    int hop;   // new samples per block
    int lead;  // silence ahead of the first sample, so every owed output is ready
    // The block's input: taps - 1 samples kept from the last block, then
    // `filled` new ones.
    std::vector<float> blockRe, blockIm;
    std::vector<float> workRe, workIm;
    std::vector<float> resultRe, resultIm;
    // The last block's outputs, handed on from `read`.
    std::vector<float> queueRe, queueIm;
    int filled = 0;
    int read = 0;
};

}  // namespace quorvex::clean

#endif
