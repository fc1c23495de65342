#include <quorvex/ReSamplingFilter.h>

#include <gtest/gtest.h>

#include <cmath>
#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "rate/resampling/ReSamplingState.h"
#include "rate/resampling/bessel0.h"

namespace {

constexpr double kSentinel = -123.0;

struct Result {
    int status;
    int length;
    std::vector<double> data;
};

// Runs one block into an output area of `capacity` doubles (plus a spare
// sentinel), checking the format fields on success.
Result run(ReSamplingFilter& f, std::vector<double> x, int sampleRate, int capacity) {
    std::vector<double> y(static_cast<size_t>(capacity) + 1, kSentinel);
    RealAudioBuffer in(x.data(), static_cast<int>(x.size()), static_cast<int>(x.size()), sampleRate,
                       16);
    RealAudioBuffer out(y.data(), capacity, -1, 0, 0);
    const int status = f.process(&in, &out);
    if (status == 0) {
        EXPECT_EQ(out.sampleRate, 48000);
        EXPECT_EQ(out.bitsPerSample, 24);
    }
    EXPECT_EQ(y[capacity], kSentinel);
    return {status, out.length, y};
}

std::vector<double> constant(int frames, double value) {
    return std::vector<double>(2 * static_cast<size_t>(frames), value);
}

int intermediateRate(int a, int b) {
    if (ReSamplingFilterInit(a, b) != 0) return -1;
    return ReSamplingFilterWindow().intermediateRate;
}

}  // namespace

TEST(ReSamplingInit, CommonMultiplesOfRatePairs) {
    EXPECT_EQ(intermediateRate(44100, 48000), 7056000);
    EXPECT_EQ(intermediateRate(48000, 44100), 7056000);
    EXPECT_EQ(intermediateRate(44100, 96000), 14112000);
    EXPECT_EQ(intermediateRate(22050, 96000), 14112000);
    EXPECT_EQ(intermediateRate(32000, 44100), 14112000);
    EXPECT_EQ(intermediateRate(44100, 32000), 14112000);
    EXPECT_EQ(intermediateRate(8000, 44100), 3528000);
    EXPECT_EQ(intermediateRate(48000, 48000), 48000);

    // Refused pairs leave the last configuration in force.
    EXPECT_EQ(ReSamplingFilterInit(44100, 44101), -1);
    EXPECT_EQ(ReSamplingFilterInit(0, 48000), -1);
    EXPECT_EQ(ReSamplingFilterInit(48000, -1), -1);
    EXPECT_EQ(ReSamplingFilterInit(2147483647, 2147483646), -1);  // multiple beyond an int
    EXPECT_EQ(ReSamplingFilterWindow().intermediateRate, 48000);
}

TEST(ReSamplingInit, InitialWindowAt44100To48000) {
    ASSERT_EQ(ReSamplingFilterInit(44100, 48000), 0);
    const ReSamplingWindow w = ReSamplingFilterWindow();
    EXPECT_EQ(w.up, 160);
    EXPECT_EQ(w.down, 147);
    EXPECT_EQ(w.next, 0);
    EXPECT_EQ(w.first, -25);
    EXPECT_EQ(w.firstRemainder, -96);
    EXPECT_EQ(w.last, 25);
    EXPECT_EQ(w.lastRemainder, 96);

    std::vector<double> x = constant(1, 0.5);
    std::vector<double> y(2);
    EXPECT_EQ(ReSamplingFilterProcess(2, x.data(), 2, y.data()), 2);
    const ReSamplingWindow moved = ReSamplingFilterWindow();
    EXPECT_EQ(moved.next, 26);  // the first frame went to index 25
    EXPECT_EQ(moved.first, -24);
    EXPECT_EQ(moved.firstRemainder, -109);
    EXPECT_EQ(moved.last, 26);
    EXPECT_EQ(moved.lastRemainder, 83);
}

TEST(ReSamplingInit, Bessel0Series) {
    EXPECT_EQ(bessel0(0.0), 1.0);
    EXPECT_NEAR(bessel0(1.0), 1.2660658777520082, 1e-15);
    EXPECT_NEAR(bessel0(10.0), 2815.716628466254, 1e-9);
}

TEST(ReSamplingKernel, RefusedBlocksChangeNothing) {
    ASSERT_EQ(ReSamplingFilterInit(44100, 48000), 0);
    std::vector<double> x = constant(32769, 1.0);
    std::vector<double> y(2 * 40000, kSentinel);
    EXPECT_EQ(ReSamplingFilterProcess(2 * 32769, x.data(), 80000, y.data()), -1);
    EXPECT_EQ(ReSamplingFilterProcess(2 * 1024, x.data(), 2227, y.data()), -1);
    EXPECT_EQ(ReSamplingFilterProcess(-2, x.data(), 10, y.data()), -1);
    EXPECT_EQ(y[0], kSentinel);
    EXPECT_EQ(ReSamplingFilterWindow().next, 0);
    EXPECT_EQ(ReSamplingFilterProcess(0, x.data(), 0, y.data()), 0);
    EXPECT_EQ(ReSamplingFilterWindow().first, -25);
    // A trailing odd double is ignored.
    EXPECT_EQ(ReSamplingFilterProcess(2 * 1024 + 1, x.data(), 2228, y.data()), 2228);
}

namespace {

// Feeds `x` in blocks of varying size and checks every output against the
// converter's defining sum: output k sits at k x down on the intermediate
// axis, input frame t at (t + lag) x up, and the output is the sum, in
// ascending t, of each input within 4096 intermediate samples times the
// prototype tap at its distance.
void expectDefiningSums(int inRate, int outRate, const std::vector<double>& x) {
    ASSERT_EQ(ReSamplingFilterInit(inRate, outRate), 0);
    const ReSamplingWindow w = ReSamplingFilterWindow();
    const double* h = ReSamplingFilterPrototype();
    const int64_t lag = 4096 / w.up;
    const int64_t frames = static_cast<int64_t>(x.size() / 2);

    std::vector<double> y;
    std::vector<int64_t> storedBefore;  // input frames stored when each output was made
    constexpr int64_t kLongestBlock = 9972;
    std::vector<double> block(2 * (std::min(frames, kLongestBlock) * outRate / inRate + 1));
    for (int64_t start = 0, size = 1; start < frames;
         start += size, size = size * 7 % (kLongestBlock + 1)) {
        size = std::min(size, frames - start);
        const int produced = ReSamplingFilterProcess(static_cast<int>(2 * size), &x[2 * start],
                                                     static_cast<int>(block.size()), block.data());
        ASSERT_GE(produced, 0);
        y.insert(y.end(), block.begin(), block.begin() + produced);
        storedBefore.resize(y.size() / 2, start + size);
    }
    ASSERT_EQ(static_cast<int64_t>(y.size() / 2), frames * outRate / inRate);

    for (int64_t k = 0; k < static_cast<int64_t>(y.size() / 2); ++k) {
        const int64_t centre = k * w.down;
        double left = 0.0;
        double right = 0.0;
        // The first absolute index at or after centre - 4096, then each one up.
        int64_t a =
            centre - 4096 >= 0 ? (centre - 4096 + w.up - 1) / w.up : -((4096 - centre) / w.up);
        for (; a * w.up <= centre + 4096; ++a) {
            const int64_t t = a - lag;
            const int64_t distance = a * w.up - centre;
            const double tap = h[distance < 0 ? -distance : distance];
            // A window may end one frame past the newest input, on a slot
            // still at 0.0 in a stream shorter than the ring.
            const bool held = t >= 0 && t < storedBefore[k];
            left += tap * (held ? x[2 * t] : 0.0);
            right += tap * (held ? x[2 * t + 1] : 0.0);
        }
        ASSERT_EQ(y[2 * k], left) << k;
        ASSERT_EQ(y[2 * k + 1], right) << k;
    }
}

std::vector<double> noise(int64_t frames, unsigned seed) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    std::vector<double> x(2 * static_cast<size_t>(frames));
    for (double& v : x) v = u(rng);
    return x;
}

}  // namespace

// Beyond 65536 frames the windows wrap around the input ring; an up factor
// above 16384 leaves the tap table that serves ordinary rates.
TEST(ReSamplingKernel, EveryOutputIsItsDefiningSumBitForBit) {
    expectDefiningSums(44100, 48000, noise(70000, 1));
    expectDefiningSums(48000, 44100, noise(20000, 2));
    expectDefiningSums(48000, 48000, noise(3000, 3));
    expectDefiningSums(1, 17000, noise(20, 4));
}

TEST(ReSamplingFilter, OutputCountsCarryTheFractionFromBlockToBlock) {
    ReSamplingFilter up(44100, 16, 48000, 24);
    EXPECT_EQ(run(up, constant(1024, 0.0), 44100, 2229).length, 2228);
    // 2048 frames make 2229.1 outputs: the second block completes one more.
    EXPECT_EQ(run(up, constant(1024, 0.0), 44100, 2230).length, 2230);

    // The check covers the larger of the block's nominal size and what it
    // completes: 1024 more frames make 3343.7 outputs in all, 1113 new ones.
    Result tight = run(up, constant(1024, 0.0), 44100, 2228);
    EXPECT_EQ(tight.status, -1);
    EXPECT_EQ(tight.length, -1);
    EXPECT_EQ(tight.data[0], kSentinel);

    ReSamplingFilter down(48000, 16, 44100, 24);
    std::vector<double> x = constant(1024, 0.0);
    std::vector<double> y(2048);
    RealAudioBuffer in(x.data(), 2048, 2048, 48000, 16);
    RealAudioBuffer out(y.data(), 2048, 0, 0, 0);
    ASSERT_EQ(down.process(&in, &out), 0);
    EXPECT_EQ(out.length, 1880);
    EXPECT_EQ(out.sampleRate, 44100);
}

TEST(ReSamplingFilter, ConstantInputSettlesAtUnity) {
    struct Case {
        int inRate;
        int outRate;
        int settleFrames;
    };
    for (const Case c :
         {Case{44100, 48000, 60}, Case{48000, 44100, 60}, Case{48000, 48000, 8200}}) {
        ReSamplingFilter f(c.inRate, 16, c.outRate, 24);
        std::vector<double> x = constant(16384, 1.0);
        std::vector<double> y(2 * 20000);
        RealAudioBuffer in(x.data(), 2 * 16384, 2 * 16384, c.inRate, 16);
        RealAudioBuffer out(y.data(), 2 * 20000, 0, 0, 0);
        ASSERT_EQ(f.process(&in, &out), 0);
        double worst = 0.0;
        for (int i = 2 * c.settleFrames; i < out.length; ++i)
            worst = std::fmax(worst, std::fabs(y[i] - 1.0));
        EXPECT_LT(worst, 1e-5) << c.inRate << " -> " << c.outRate;
        EXPECT_GT(std::fabs(y[0] - 1.0), 0.1);  // the first outputs ramp in from silence
    }
}

TEST(ReSamplingFilter, NewInputRateReconfiguresBeforeTheCapacityCheck) {
    ReSamplingFilter f(44100, 16, 48000, 24);
    run(f, constant(100, 1.0), 44100, 2000);
    Result refused = run(f, constant(1024, 1.0), 32000, 100);
    EXPECT_EQ(refused.status, -1);
    EXPECT_EQ(refused.data[0], kSentinel);
    const ReSamplingWindow w = ReSamplingFilterWindow();
    EXPECT_EQ(w.up, 3);
    EXPECT_EQ(w.down, 2);
    EXPECT_EQ(w.next, 0);

    // The object now holds the new rate: the same block no longer reconfigures.
    EXPECT_EQ(run(f, constant(1024, 1.0), 32000, 2 * 1536).length, 2 * 1536);
    EXPECT_EQ(ReSamplingFilterWindow().next, 1365 + 1024);
}

TEST(ReSamplingFilter, LongBlocksEqualTheirPiecesFedInTurn) {
    std::mt19937 rng(3);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    std::vector<double> x(2 * 40000 + 1);
    for (double& v : x) v = u(rng);

    ReSamplingFilter f(44100, 16, 48000, 24);
    Result whole = run(f, x, 44100, 87100);
    ASSERT_EQ(whole.status, 0);
    EXPECT_EQ(whole.length, 2 * 43537);

    f.reset();
    Result first = run(f, std::vector<double>(x.begin(), x.begin() + 2 * 32768), 44100, 80000);
    Result second = run(f, std::vector<double>(x.begin() + 2 * 32768, x.end()), 44100, 16000);
    ASSERT_EQ(first.status, 0);
    ASSERT_EQ(second.status, 0);
    ASSERT_EQ(first.length + second.length, whole.length);
    for (int i = 0; i < whole.length; ++i) {
        const double piecewise = i < first.length ? first.data[i] : second.data[i - first.length];
        ASSERT_EQ(whole.data[i], piecewise) << i;
    }
}

TEST(ReSamplingFilter, RefusesBadBlocksAndAnswersNoParameters) {
    ReSamplingFilter f(44100, 16, 48000, 24);
    EXPECT_STREQ(f.getName(), "ReSampling");
    EXPECT_EQ(f.setParamData(0x70414C43, nullptr, 20), 0);
    EXPECT_EQ(f.getParamData(0, nullptr, -1), 0);

    EXPECT_EQ(run(f, constant(4, 1.0), 0, 100).status, -1);
    Result empty = run(f, {}, 44100, 0);
    EXPECT_EQ(empty.status, 0);
    EXPECT_EQ(empty.length, 0);
    EXPECT_EQ(ReSamplingFilterWindow().first, -25);  // the window did not move
}

TEST(ReSamplingFilter, WithoutAUsableRatePairNothingIsWritten) {
    ReSamplingFilter f(44101, 16, 48000, 24);
    Result r = run(f, constant(64, 1.0), 44101, 1000);
    EXPECT_EQ(r.status, -1);
    EXPECT_EQ(r.data[0], kSentinel);
    std::vector<double> y(8);
    EXPECT_EQ(ReSamplingFilterProcess(2, y.data(), 8, y.data()), -1);
    // A usable rate then brings it to life.
    EXPECT_EQ(run(f, constant(64, 1.0), 44100, 1000).status, 0);
}

// An hour of 8 kHz input in 12.5 ms blocks: blocks that each dropped their
// fraction of an output would let the window fall 170000 frames behind and
// the ring overrun long before the end.
TEST(ReSamplingFilter, HourLongStreamKeepsItsCountAndItsSine) {
    constexpr int kInRate = 8000;
    constexpr int kOutRate = 11025;
    constexpr int kBlockFrames = 100;
    constexpr int64_t kSeconds = 3600;
    constexpr int kTone = 997;  // whole periods in a second of input
    constexpr double kAmplitude = 0.5;
    constexpr double kTwoPi = 2.0 * 3.141592653589793;

    std::vector<double> second(2 * kInRate);
    for (int t = 0; t < kInRate; ++t) {
        const double v = kAmplitude * std::sin(kTwoPi * kTone * t / kInRate);
        second[2 * t] = v;
        second[2 * t + 1] = -v;
    }

    ReSamplingFilter f(kInRate, 16, kOutRate, 24);
    std::vector<double> y(2 * 200);
    RealAudioBuffer out(y.data(), static_cast<int>(y.size()), 0, 0, 0);
    const int lagFrames = 4096 / ReSamplingFilterWindow().up;
    const int64_t checkFrom = (kSeconds - 1) * kOutRate;
    int64_t produced = 0;
    double worst = 0.0;
    for (int64_t block = 0; block < kSeconds * kInRate / kBlockFrames; ++block) {
        const int offset = static_cast<int>(block * kBlockFrames % kInRate);
        RealAudioBuffer in(second.data() + 2 * offset, 2 * kBlockFrames, 2 * kBlockFrames, kInRate,
                           16);
        ASSERT_EQ(f.process(&in, &out), 0);
        for (int i = 0; i < out.length / 2 && produced + i >= checkFrom; ++i) {
            // Output k shows the input at frame k x 8000 / 11025 - lag; the
            // phase is reduced in integers to keep it exact.
            const int64_t k = produced + i;
            const int64_t scale = int64_t{kInRate} * kOutRate;
            const int64_t cycles = (kTone * (k * kInRate - int64_t{lagFrames} * kOutRate)) % scale;
            const double expected = kAmplitude * std::sin(kTwoPi * cycles / scale);
            worst = std::fmax(worst, std::fabs(y[2 * i] - expected));
            worst = std::fmax(worst, std::fabs(y[2 * i + 1] + expected));
        }
        produced += out.length / 2;
    }
    EXPECT_EQ(produced, kSeconds * kOutRate);
    EXPECT_LT(worst, 2e-5);  // about 8e-6: the images' residue 96 dB down
}
