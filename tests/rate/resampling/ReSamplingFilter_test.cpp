#include <quorvex/ReSamplingFilter.h>

#include <gtest/gtest.h>

#include <cmath>
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

// One block into `capacity` doubles; the sentinel after them must survive.
Result run(ReSamplingFilter& f, std::vector<double> x, int sampleRate, int capacity,
           int outRate = 48000) {
    std::vector<double> y(static_cast<size_t>(capacity) + 1, kSentinel);
    RealAudioBuffer in(x.data(), static_cast<int>(x.size()), static_cast<int>(x.size()), sampleRate,
                       16);
    RealAudioBuffer out(y.data(), capacity, -1, 0, 0);
    const int status = f.process(&in, &out);
    if (status == 0) {
        EXPECT_EQ(out.sampleRate, outRate);
        EXPECT_EQ(out.bitsPerSample, 24);
    }
    EXPECT_EQ(y[capacity], kSentinel);
    return {status, out.length, y};
}

std::vector<double> constant(int frames, double value) {
    return std::vector<double>(2 * static_cast<size_t>(frames), value);
}

}  // namespace

TEST(ReSamplingInit, CommonMultiplesOfRatePairs) {
    const struct {
        int in, out, multiple;
    } pairs[] = {{44100, 48000, 7056000},  {48000, 44100, 7056000},  {44100, 96000, 14112000},
                 {22050, 96000, 14112000}, {32000, 44100, 14112000}, {44100, 32000, 14112000},
                 {8000, 44100, 3528000},   {48000, 48000, 48000}};
    for (const auto& p : pairs) {
        ASSERT_EQ(ReSamplingFilterInit(p.in, p.out), 0) << p.in << " -> " << p.out;
        EXPECT_EQ(ReSamplingFilterWindow().intermediateRate, p.multiple) << p.in << " -> " << p.out;
    }
    // Refused pairs, the last for a multiple beyond an int, leave 48000 in force.
    EXPECT_EQ(ReSamplingFilterInit(44100, 44101), -1);
    EXPECT_EQ(ReSamplingFilterInit(0, 48000), -1);
    EXPECT_EQ(ReSamplingFilterInit(48000, -1), -1);
    EXPECT_EQ(ReSamplingFilterInit(2000000000, 3), -1);
    EXPECT_EQ(ReSamplingFilterWindow().intermediateRate, 48000);
}

TEST(ReSamplingInit, InitialWindowAt44100To48000AndBessel0) {
    ASSERT_EQ(ReSamplingFilterInit(44100, 48000), 0);
    const ReSamplingWindow w = ReSamplingFilterWindow();
    EXPECT_EQ((std::vector<int64_t>{w.up, w.down, w.next, w.first, w.firstRemainder, w.last,
                                    w.lastRemainder}),
              (std::vector<int64_t>{160, 147, 0, -25, -96, 25, 96}));

    EXPECT_EQ(bessel0(0.0), 1.0);
    EXPECT_NEAR(bessel0(1.0), 1.2660658777520082, 1e-15);
    EXPECT_NEAR(bessel0(10.0), 2815.716628466254, 1e-9);
}

TEST(ReSamplingFilter, RefusedEmptyAndLongBlocks) {
    std::mt19937 rng(3);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    std::vector<double> x(2 * 40000 + 1);
    for (double& v : x) v = u(rng);

    ReSamplingFilter f(44100, 16, 48000, 24);
    EXPECT_STREQ(f.getName(), "ReSampling");
    EXPECT_EQ(f.setParamData(0x70414C43, nullptr, 20), 0);
    EXPECT_EQ(f.getParamData(0, nullptr, -1), 0);
    std::vector<double> y(80000, kSentinel);
    EXPECT_EQ(ReSamplingFilterProcess(2 * 32769, x.data(), 80000, y.data()), -1);
    EXPECT_EQ(ReSamplingFilterProcess(2 * 1024, x.data(), 2227, y.data()), -1);
    EXPECT_EQ(ReSamplingFilterProcess(-2, x.data(), 10, y.data()), -1);
    EXPECT_EQ(run(f, constant(4, 1.0), 0, 100).status, -1);
    const Result empty = run(f, {}, 44100, 0);
    EXPECT_EQ(empty.status, 0);
    EXPECT_EQ(empty.length, 0);
    EXPECT_EQ(y[0], kSentinel);
    EXPECT_EQ(ReSamplingFilterWindow().next, 0);
    EXPECT_EQ(ReSamplingFilterWindow().first, -25);

    // The filter passes blocks the kernel would refuse to it in pieces.
    Result whole = run(f, x, 44100, 87100);
    ASSERT_EQ(whole.status, 0);
    ASSERT_EQ(whole.length, 2 * 43537);
    f.reset();
    Result pieces = run(f, std::vector<double>(x.begin(), x.begin() + 2 * 32768), 44100, 80000);
    const Result rest = run(f, std::vector<double>(x.begin() + 2 * 32768, x.end()), 44100, 16000);
    pieces.data.resize(pieces.length);
    pieces.data.insert(pieces.data.end(), rest.data.begin(), rest.data.begin() + rest.length);
    whole.data.resize(whole.length);
    EXPECT_TRUE(whole.data == pieces.data);
}

TEST(ReSamplingFilter, OutputCountsCarryTheFractionAndBoundTheCapacity) {
    ReSamplingFilter up(44100, 16, 48000, 24);
    EXPECT_EQ(run(up, constant(1024, 0.0), 44100, 2229).length, 2228);  // 1114.5 outputs
    // 2048 frames make 2229.1 outputs: the second block completes 1115, two
    // doubles more than its nominal 2229, and the capacity must hold them.
    EXPECT_EQ(run(up, constant(1024, 0.0), 44100, 2229).status, -1);
    EXPECT_EQ(run(up, constant(1024, 0.0), 44100, 2230).length, 2230);
    // Three blocks make 3343.7 outputs, 1114 new: the nominal 2229 still binds.
    const Result tight = run(up, constant(1024, 0.0), 44100, 2228);
    EXPECT_EQ(tight.status, -1);
    EXPECT_EQ(tight.length, -1);
    EXPECT_EQ(tight.data[0], kSentinel);

    ReSamplingFilter down(48000, 16, 44100, 24);
    EXPECT_EQ(run(down, constant(1024, 0.0), 48000, 2048, 44100).length, 1880);
}

TEST(ReSamplingFilter, ConstantInputSettlesAtUnity) {
    const struct {
        int in, out, frames, settled;
    } cases[] = {{44100, 48000, 400, 60}, {48000, 44100, 400, 60}, {48000, 48000, 8400, 8200}};
    for (const auto& c : cases) {
        ReSamplingFilter f(c.in, 16, c.out, 24);
        const Result r = run(f, constant(c.frames, 1.0), c.in, 4 * c.frames, c.out);
        ASSERT_EQ(r.status, 0);
        double worst = 0.0;
        for (int i = 2 * c.settled; i < r.length; ++i)
            worst = std::fmax(worst, std::fabs(r.data[i] - 1.0));
        EXPECT_LT(worst, 1e-5) << c.in << " -> " << c.out;
        EXPECT_GT(std::fabs(r.data[0] - 1.0), 0.1);  // ramping in from silence
    }
}

TEST(ReSamplingFilter, NewInputRateReconfiguresBeforeTheCapacityCheck) {
    ReSamplingFilter f(44100, 16, 48000, 24);
    run(f, constant(100, 1.0), 44100, 2000);
    const Result refused = run(f, constant(1024, 1.0), 32000, 100);
    EXPECT_EQ(refused.status, -1);
    EXPECT_EQ(refused.data[0], kSentinel);
    const ReSamplingWindow w = ReSamplingFilterWindow();
    EXPECT_EQ(w.up, 3);
    EXPECT_EQ(w.down, 2);
    EXPECT_EQ(w.next, 0);
}

TEST(ReSamplingFilter, WithoutAUsableRatePairNothingIsWritten) {
    ReSamplingFilter f(44101, 16, 48000, 24);
    const Result r = run(f, constant(64, 1.0), 44101, 1000);
    EXPECT_EQ(r.status, -1);
    EXPECT_EQ(r.data[0], kSentinel);
    std::vector<double> y(8);
    EXPECT_EQ(ReSamplingFilterProcess(2, y.data(), 8, y.data()), -1);
    EXPECT_EQ(run(f, constant(64, 1.0), 44100, 1000).status, 0);
}

// An hour of 8 kHz input in 12.5 ms blocks: dropping each block's fraction of
// an output would leave the window 170000 frames behind at the end.
TEST(ReSamplingFilter, HourLongStreamKeepsItsCountAndItsSine) {
    constexpr int64_t kIn = 8000, kOut = 11025, kBlock = 100, kTone = 997, kSeconds = 3600;
    constexpr double kTwoPi = 2.0 * 3.141592653589793;
    std::vector<double> second(2 * kIn);
    for (int t = 0; t < kIn; ++t) {
        second[2 * t] = 0.5 * std::sin(kTwoPi * kTone * t / kIn);
        second[2 * t + 1] = -second[2 * t];
    }

    ReSamplingFilter f(kIn, 16, kOut, 24);
    std::vector<double> y(2 * 200);
    RealAudioBuffer out(y.data(), static_cast<int>(y.size()), 0, 0, 0);
    const int64_t lag = 4096 / ReSamplingFilterWindow().up;
    int64_t produced = 0;
    double worst = 0.0;
    for (int64_t block = 0; block < kSeconds * kIn / kBlock; ++block) {
        RealAudioBuffer in(&second[2 * (block * kBlock % kIn)], 2 * kBlock, 2 * kBlock, kIn, 16);
        ASSERT_EQ(f.process(&in, &out), 0);
        // Over the last second, output k shows input frame k x 8000 / 11025 -
        // lag, its phase reduced in integers to stay exact.
        for (int i = 0; i < out.length / 2 && produced >= (kSeconds - 1) * kOut; ++i) {
            const int64_t cycles = kTone * ((produced + i) * kIn - lag * kOut) % (kIn * kOut);
            const double expected = 0.5 * std::sin(kTwoPi * cycles / (kIn * kOut));
            worst = std::fmax(worst, std::fabs(y[2 * i] - expected));
            worst = std::fmax(worst, std::fabs(y[2 * i + 1] + expected));
        }
        produced += out.length / 2;
    }
    EXPECT_EQ(produced, kSeconds * kOut);
    EXPECT_LT(worst, 2e-5);
}
