#include <quorvex/DownSamplingFilter.h>

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "support/BitHash.h"
#include "support/RunBlock.h"

using testutil::kSentinel;

namespace {

// Taps 0 to 32 of the low-pass; 33 to 64 mirror them.
constexpr double kHalfTaps[33] = {
    2.302312e-05,  3.675669e-05,  -7.91322e-05,  -0.000147914, 0.0001450547, 0.0003972371,
    -0.0001589228, -0.0008440471, -5.197946e-12, 0.00151406,   0.000514858,  -0.002357844,
    -0.001615473,  0.00320736,    0.003540357,   -0.003740803, -0.006480126, 0.003463302,
    0.01051323,    -0.00170088,   -0.0155503,    -0.002417595, 0.02130462,   0.01006904,
    -0.02730245,   -0.02317793,   0.03293755,    0.04615452,   -0.03756345,  -0.09490857,
    0.04060521,    0.3144547,     0.4583291};

}  // namespace

// Blocks of any size through two instances with resets between them, against
// one direct convolution of the whole stream: the history is shared and never
// cleared. Frame 0 of every block is kept; an odd block keeps only the left
// value of its last kept frame and writes nothing past its length. An output
// too small for a block refuses it whole.
TEST(DownSampling, MatchesDirectConvolutionAcrossBlocksInstancesAndResets) {
    DownSamplingFilter a(24, 16), b(16, 16);
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    std::vector<double> stream;
    int block = 0;
    for (int frames : {4, 7, 1, 64, 130, 3, 2, 33}) {
        DownSamplingFilter& f = block++ % 3 == 1 ? b : a;
        f.reset();
        std::vector<double> x(2 * frames), y(frames + 1, kSentinel);
        for (double& v : x) v = u(rng);
        const long start = static_cast<long>(stream.size() / 2);
        stream.insert(stream.end(), x.begin(), x.end());
        RealAudioBuffer in(x.data(), 2 * frames, 2 * frames, 96000, 24);
        RealAudioBuffer out(y.data(), 0, 0, 0, 0);
        ASSERT_NO_FATAL_FAILURE(testutil::expectRefusedUntilExact(f, in, out, frames));
        EXPECT_EQ(out.sampleRate, 48000);
        for (int i = 0; i < frames; ++i) {
            // The transposed form adds a frame's own product last.
            const long frame = start + i - i % 2;
            double acc = 0.0;
            for (int k = 64; k >= 0; --k)
                acc =
                    (frame >= k ? stream[2 * (frame - k) + i % 2] * kHalfTaps[k <= 32 ? k : 64 - k]
                                : 0.0) +
                    acc;
            EXPECT_EQ(y[i], acc) << frames << " " << i;
        }
        EXPECT_EQ(y[frames], kSentinel) << frames;
    }
}

// A digest of every output bit of a long stream: blocks of random frame
// counts (0, 1 and odd ones included), now and then an odd double left over,
// at several rates, some in place, through three instances with resets and
// refused blocks in between.
TEST(DownSampling, LongStreamKeepsEveryOutputBit) {
    const int rates[] = {96000, 88200, 192000, 44100};
    testutil::StreamDice dice(14);
    testutil::BitHash hash;
    DownSamplingFilter filters[] = {{24, 16}, {16, 24}, {32, 32}};
    std::vector<double> x, y;
    for (int segment = 0; segment < 3000; ++segment) {
        DownSamplingFilter& f = filters[dice.below(3)];
        if (dice.oneIn(8)) f.reset();
        const int n = dice.blockDoubles();
        const int frames = n / 2;
        x.resize(static_cast<size_t>(n));
        y.assign(static_cast<size_t>(frames) + 1, kSentinel);
        for (double& v : x) v = dice.sample();
        const bool inPlace = dice.oneIn(4);
        RealAudioBuffer in(x.data(), n, n, rates[dice.below(4)], 24);
        RealAudioBuffer out(inPlace ? x.data() : y.data(), frames, 0, 0, 0);
        if (frames > 0 && dice.oneIn(10)) {
            out.capacity = frames - 1;
            ASSERT_EQ(f.process(&in, &out), -1);
            out.capacity = frames;
        }
        ASSERT_EQ(f.process(&in, &out), 0);
        ASSERT_EQ(y[static_cast<size_t>(frames)], kSentinel);
        hash.addCount(out.length);
        hash.addCount(out.sampleRate);
        hash.add(out.data, out.length);
    }
    EXPECT_EQ(hash.value(), 0x9fb484343ba0f7acu) << std::hex << hash.value();
}
