#include <quorvex/DownSamplingFilter.h>

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace {

constexpr double kSentinel = -123.0;

// Runs one block; the output array has `extra` spare doubles of sentinel.
std::vector<double> run(DownSamplingFilter& f, std::vector<double> x, int extra = 2,
                        int sampleRate = 96000) {
    std::vector<double> y(x.size() / 2 + extra, kSentinel);
    RealAudioBuffer in(x.data(), static_cast<int>(x.size()), static_cast<int>(x.size()), sampleRate,
                       24);
    RealAudioBuffer out(y.data(), static_cast<int>(y.size()), 0, 0, 0);
    EXPECT_EQ(f.process(&in, &out), 0);
    EXPECT_EQ(out.length, static_cast<int>(x.size() / 2));
    EXPECT_EQ(out.sampleRate, sampleRate / 2);
    EXPECT_EQ(out.bitsPerSample, 16);
    return y;
}

// The shared history is never cleared, so tests that need it silent push
// a filter length of zeros first.
void flush(DownSamplingFilter& f) { run(f, std::vector<double>(2 * 65, 0.0)); }

// The 65 taps, read back as impulse responses: an impulse on frame 0 yields
// the even taps in the kept frames, one on frame 1 the odd ones.
std::vector<double> measuredTaps() {
    DownSamplingFilter f(24, 16);
    std::vector<double> h(65);
    for (int phase = 0; phase < 2; ++phase) {
        flush(f);
        std::vector<double> x(2 * 130, 0.0);
        x[2 * phase] = 1.0;
        std::vector<double> y = run(f, x);
        for (int k = phase; k < 65; k += 2) h[k] = y[k + phase];
    }
    return h;
}

// The decimator written out directly: the transposed form sums a frame's own
// product last, onto the sum of the older ones.
double filtered(const std::vector<double>& h, const std::vector<double>& x, long frame,
                int channel) {
    double acc = 0.0;
    for (int k = 64; k >= 0; --k) {
        const long i = frame - k;
        const double xi = i >= 0 ? x[2 * i + channel] : 0.0;
        acc = k == 64 ? xi * h[k] : xi * h[k] + acc;
    }
    return acc;
}

}  // namespace

TEST(DownSampling, ImpulseGivesEveryOtherTapOnTheLeftOnly) {
    DownSamplingFilter f(24, 16);
    flush(f);
    std::vector<double> x(2 * 80, 0.0);
    x[0] = 1.0;
    std::vector<double> y = run(f, x);
    EXPECT_EQ(y[0], 2.302312e-05);
    EXPECT_EQ(y[2], -7.91322e-05);
    EXPECT_EQ(y[2 * 4], -5.197946e-12);
    EXPECT_EQ(y[2 * 16], 0.4583291);
    for (int k = 0; k <= 16; ++k) EXPECT_EQ(y[2 * k], y[2 * (32 - k)]) << k;
    for (int k = 33; k < 40; ++k) EXPECT_EQ(y[2 * k], 0.0) << k;
    for (int k = 0; k < 40; ++k) EXPECT_EQ(y[2 * k + 1], 0.0) << k;
}

TEST(DownSampling, TapsAreSymmetricAndConstantInputSettles) {
    const std::vector<double> h = measuredTaps();
    for (int k = 0; k <= 32; ++k) EXPECT_EQ(h[k], h[64 - k]) << k;
    EXPECT_EQ(h[31], 0.3144547);

    DownSamplingFilter f(24, 16);
    flush(f);
    std::vector<double> y = run(f, std::vector<double>(2 * 100, 1.0));
    double settled = h[64];
    for (int k = 63; k >= 0; --k) settled = h[k] + settled;
    EXPECT_NEAR(settled, 0.99999998, 5e-9);
    for (int frame = 64; frame < 100; frame += 2) {
        EXPECT_EQ(y[frame], settled) << frame;
        EXPECT_EQ(y[frame + 1], settled) << frame;
    }
    EXPECT_NE(y[62], settled);
}

TEST(DownSampling, MatchesDirectConvolutionAcrossBlocksOfAnySize) {
    const std::vector<double> h = measuredTaps();
    DownSamplingFilter f(24, 16);
    flush(f);
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    std::vector<double> stream;
    for (int frames : {4, 7, 1, 64, 130, 3, 2, 33}) {
        std::vector<double> x(2 * frames);
        for (double& v : x) v = u(rng);
        const long start = static_cast<long>(stream.size() / 2);
        stream.insert(stream.end(), x.begin(), x.end());
        std::vector<double> y = run(f, x);
        // Frame 0 of every block is kept; an odd block keeps only the left
        // value of its last kept frame and writes nothing past its length.
        for (int i = 0; i < frames; i += 2) {
            EXPECT_EQ(y[i], filtered(h, stream, start + i, 0)) << frames << " " << i;
            if (i + 1 < frames) {
                EXPECT_EQ(y[i + 1], filtered(h, stream, start + i, 1));
            }
        }
        EXPECT_EQ(y[frames], kSentinel) << frames;
    }
}

TEST(DownSampling, HistorySurvivesResetAndIsSharedByInstances) {
    DownSamplingFilter a(24, 16);
    flush(a);
    run(a, {1.0, 0.5, 0.0, 0.0});
    a.reset();
    DownSamplingFilter b(16, 16);
    std::vector<double> y = run(b, std::vector<double>(8, 0.0));
    EXPECT_EQ(y[0], -7.91322e-05);  // h[2]
    EXPECT_EQ(y[1], -7.91322e-05 * 0.5);
}

TEST(DownSampling, FormatCapacityAndEmptyBlocks) {
    DownSamplingFilter f(24, 16);
    EXPECT_STREQ(f.getName(), "DownSampler");
    unsigned char block[8] = {};
    EXPECT_EQ(f.setParamData(0x70414C43, block, 8), 0);
    EXPECT_EQ(f.getParamData(0, nullptr, -1), 0);

    std::vector<double> x(8, 0.25);
    std::vector<double> y(4, kSentinel);
    RealAudioBuffer in(x.data(), 8, 8, 96000, 24);
    RealAudioBuffer shortOut(y.data(), 3, 7, 1, 2);
    EXPECT_EQ(f.process(&in, &shortOut), -1);
    EXPECT_EQ(shortOut.length, 7);
    EXPECT_EQ(shortOut.sampleRate, 1);
    EXPECT_EQ(y[0], kSentinel);

    RealAudioBuffer exact(y.data(), 4, 0, 0, 0);
    EXPECT_EQ(f.process(&in, &exact), 0);
    EXPECT_EQ(exact.length, 4);
    EXPECT_EQ(exact.sampleRate, 48000);

    RealAudioBuffer empty(nullptr, 0, 0, 44100, 16);
    RealAudioBuffer emptyOut(nullptr, 0, 5, 0, 0);
    EXPECT_EQ(f.process(&empty, &emptyOut), 0);
    EXPECT_EQ(emptyOut.length, 0);
    EXPECT_EQ(emptyOut.sampleRate, 22050);
    EXPECT_EQ(emptyOut.bitsPerSample, 16);

    RealAudioBuffer negative(x.data(), 8, -4, 96000, 24);
    EXPECT_EQ(f.process(&negative, &emptyOut), -1);
}
