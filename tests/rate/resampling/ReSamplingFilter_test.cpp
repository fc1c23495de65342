#include <quorvex/ReSamplingFilter.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "rate/resampling/ReSamplingState.h"
#include "support/RunBlock.h"

using testutil::kSentinel;

namespace {

// Output k is the defining sum over the inputs within 4096 intermediate
// samples of k x down, input frame f sitting at (f + 4096 / up) x up.
struct Reference {
    int in = 0, out = 0;
    int64_t up = 0, down = 0, stored = 0, made = 0, carry = 0;
    std::vector<double> h, ring;

    void init(int inRate, int outRate) {
        in = inRate;
        out = outRate;
        int64_t m = std::max(in, out);
        while (m % in != 0 || m % out != 0) m += std::max(in, out);
        up = m / in;
        down = m / out;
        const auto i0 = [](double x) {
            double s = 1.0, u = x * 0.5;
            for (double k = 2.0; u > 1e-10; k += 1.0) s = s + u * u, u = u * x * 0.5 / k;
            return s;
        };
        const double fc = out * 0.88, g = fc * 0.5 * up * 2 / m, w = fc * 3.141592653589793 / m;
        h.assign(4097, g);
        for (int i = 1; i <= 4096; ++i)
            h[i] = g * std::sin(i * w) / (i * w) *
                   i0(10.0 * std::sqrt(1 - i * i / 4096.0 / 4096.0)) / i0(10.0);
        ring.assign(2 * 65536, 0.0);
        stored = made = carry = 0;
    }

    int run(const double* x, int frames, double* y) {
        if (stored == 0) stored = 4096 / up;
        for (int f = 0; f < frames; ++f, ++stored)
            for (int c = 0; c < 2; ++c) ring[2 * (stored & 65535) + c] = x[2 * f + c];
        const int64_t total = int64_t{frames} * out + carry, n = total / in;
        carry = total % in;
        for (int64_t o = 0; o < n; ++o, ++made) {
            const int64_t centre = made * down, from = centre - 4096;
            double l = 0.0, r = 0.0;
            for (int64_t k = from >= 0 ? (from + up - 1) / up : -(-from / up);
                 k * up <= centre + 4096; ++k) {
                const double t = h[std::abs(k * up - centre)];
                l += t * ring[2 * (k & 65535)];
                r += t * ring[2 * (k & 65535) + 1];
            }
            y[2 * o] = l;
            y[2 * o + 1] = r;
        }
        return static_cast<int>(2 * n);
    }
};

struct Step {
    int frames;    // negative: a trailing odd double as well
    int rate = 0;  // 0: as before
    bool reset = false;
};

void expectSameAsReference(int inRate, int outRate, const std::vector<Step>& steps) {
    std::mt19937 rng(inRate);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    ReSamplingFilter filter(inRate, 16, outRate, 24);
    Reference ref;
    ref.init(inRate, outRate);
    for (const Step& s : steps) {
        const int rate = s.rate == 0 ? ref.in : s.rate, frames = std::abs(s.frames);
        if (s.reset) filter.reset();
        if (s.reset || rate != ref.in) ref.init(rate, outRate);
        const int length = 2 * frames + (s.frames < 0);
        std::vector<double> x(length), got(2 * (int64_t{frames} + 1) * outRate / rate + 4),
            want(got.size());
        for (double& v : x) v = u(rng);
        int expected = 0;  // the reference takes long blocks in pieces
        for (int at = 0; at < frames; at += 32768)
            expected += ref.run(&x[2 * at], std::min(frames - at, 32768), &want[expected]);
        RealAudioBuffer in(x.data(), length, length, rate, 16);
        RealAudioBuffer out(got.data(), static_cast<int>(got.size()), 0, 0, 0);
        ASSERT_EQ(filter.process(&in, &out), 0);
        EXPECT_EQ(out.sampleRate + out.bitsPerSample, outRate + 24);
        ASSERT_EQ(out.length, expected) << inRate << " -> " << outRate << ", " << s.frames;
        ASSERT_EQ(std::memcmp(got.data(), want.data(), sizeof(double) * expected), 0);
    }
}

// One block of ones into `capacity` doubles: the output length, or -1 for a
// refusal, which leaves the output untouched.
int run(ReSamplingFilter& f, int frames, int rate, int capacity) {
    std::vector<double> x(2 * frames, 1.0), y(capacity + 1, kSentinel);
    RealAudioBuffer in(x.data(), 2 * frames, 2 * frames, rate, 16);
    RealAudioBuffer out(y.data(), capacity, -1, 0, 0);
    const int status = f.process(&in, &out);
    EXPECT_EQ(y[capacity], kSentinel);
    if (status == 0) {
        EXPECT_EQ(out.length % 2, 0);  // whole frames
        return out.length;
    }
    EXPECT_EQ(out.length, -1);
    EXPECT_EQ(y[0], kSentinel);
    return status;
}

}  // namespace

TEST(ReSamplingReference, RatePairsRingWrapRateChangesAndResetsBitForBit) {
    // 120000 frames wrap the ring; blocks over 32768 frames go through in pieces.
    expectSameAsReference(44100, 48000, {{1}, {-333}, {0}, {4095}, {40001}, {40001}, {40001}});
    expectSameAsReference(48000, 44100, {{1}, {-2047}, {40001}});
    expectSameAsReference(44100, 96000, {{5}, {-99}, {70000}});
    // Windows of 8193 frames across the ring's end.
    expectSameAsReference(96000, 8000, {{3}, {-257}, {32769}, {33000}});
    expectSameAsReference(
        48000, 48000,
        {{100}, {-4097}, {3, 0, true}, {777, 44100}, {-3000}, {1000, 0, true}, {900, 8000}});
    // An up factor beyond the per-phase table and a window without a past frame.
    expectSameAsReference(5, 96000, {{1}, {2}, {-1}, {4, 0, true}, {1}});
}

// The last pair has a down factor of 2^31 - 1: the per-phase tap rows cannot
// hold its windows, and finding that out must not overflow.
TEST(ReSamplingInit, CommonMultiplesOfRatePairs) {
    const struct {
        int in, out, multiple;
    } pairs[] = {{44100, 48000, 7056000},
                 {48000, 44100, 7056000},
                 {44100, 96000, 14112000},
                 {22050, 96000, 14112000},
                 {32000, 44100, 14112000},
                 {44100, 32000, 14112000},
                 {8000, 44100, 3528000},
                 {48000, 48000, 48000},
                 {44100, 44101, -1},
                 {0, 48000, -1},
                 {48000, -1, -1},
                 {2000000000, 3, -1},
                 {2147483647, 1, 2147483647}};
    for (const auto& p : pairs) {
        EXPECT_EQ(ReSamplingFilterInit(p.in, p.out), p.multiple < 0 ? -1 : 0)
            << p.in << " " << p.out;
        // A refused pair changes nothing: 48000 stays.
        EXPECT_EQ(ReSamplingFilterWindow().intermediateRate, p.multiple < 0 ? 48000 : p.multiple);
    }
}

TEST(ReSamplingFilter, RefusalsAndCapacityWriteNothing) {
    std::vector<double> x(80000), y(8, kSentinel);
    EXPECT_EQ(ReSamplingFilterProcess(2, x.data(), 8, y.data()), -1);  // never set up
    ReSamplingFilter f(44101, 16, 48000, 24);
    EXPECT_EQ(run(f, 64, 44101, 1000), -1);
    EXPECT_EQ(run(f, 64, 44100, 1000), 2 * 69);
    EXPECT_EQ(run(f, 4, 0, 100), -1);
    EXPECT_EQ(ReSamplingFilterProcess(2 * 32769, x.data(), 80000, x.data()), -1);
    EXPECT_EQ(ReSamplingFilterProcess(-2, x.data(), 8, y.data()), -1);
    EXPECT_EQ(y[0], kSentinel);

    ReSamplingFilter up(44100, 16, 48000, 24);
    EXPECT_EQ(run(up, 1024, 44100, 2229), 2228);  // 1114.5 frames
    // 2048 frames make 2229.1: the second block completes 1115, two doubles
    // more than its nominal 2229, and the capacity must hold them.
    EXPECT_EQ(run(up, 1024, 44100, 2229), -1);
    EXPECT_EQ(run(up, 1024, 44100, 2230), 2230);
    // Three blocks make 3343.7, 1114 new: the nominal 2229 still binds.
    EXPECT_EQ(run(up, 1024, 44100, 2228), -1);
    ReSamplingFilter down(48000, 16, 44100, 24);
    EXPECT_EQ(run(down, 1024, 48000, 2048), 1880);
}

// An hour of 8 kHz input in 12.5 ms blocks: dropping each block's fraction
// of an output would lose 170000 frames, and a window falling behind would
// overrun the ring and garble the settled level.
TEST(ReSamplingFilter, HourLongStreamInSmallBlocksKeepsItsCountAndLevel) {
    ReSamplingFilter f(8000, 16, 11025, 24);
    std::vector<double> x(2 * 100, 0.25), y(2 * 200);
    RealAudioBuffer in(x.data(), 200, 200, 8000, 16);
    RealAudioBuffer out(y.data(), 400, 0, 0, 0);
    int64_t produced = 0;
    for (int block = 0; block < 3600 * 80; ++block, produced += out.length / 2)
        ASSERT_EQ(f.process(&in, &out), 0);
    EXPECT_EQ(produced, 3600 * 11025);
    for (int i = 0; i < out.length; ++i) ASSERT_NEAR(y[i], 0.25, 1e-5) << i;
}
