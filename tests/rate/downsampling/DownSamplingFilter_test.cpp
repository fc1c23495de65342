#include <quorvex/DownSamplingFilter.h>

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

constexpr double kSentinel = -123.0;

// Runs one block at 96 kHz into an output area of exactly the block's size,
// followed by sentinels.
std::vector<double> run(DownSamplingFilter& f, std::vector<double> x) {
    const int size = static_cast<int>(x.size());
    std::vector<double> y(size / 2 + 2, kSentinel);
    RealAudioBuffer in(x.data(), size, size, 96000, 24);
    RealAudioBuffer out(y.data(), size / 2, 0, 0, 0);
    EXPECT_EQ(f.process(&in, &out), 0);
    EXPECT_EQ(out.length, static_cast<int>(x.size() / 2));
    EXPECT_EQ(out.sampleRate, 48000);
    EXPECT_EQ(out.bitsPerSample, 16);
    return y;
}

// The history is shared and never cleared: a filter length of zeros silences it.
void flush(DownSamplingFilter& f) { run(f, std::vector<double>(2 * 65, 0.0)); }

// Taps 0 to 32 of the low-pass; 33 to 64 mirror them.
constexpr double kHalfTaps[33] = {
    2.302312e-05,  3.675669e-05, -7.91322e-05,  -0.000147914, 0.0001450547, 0.0003972371,
    -0.0001589228, -0.0008440471, -5.197946e-12, 0.00151406,  0.000514858,  -0.002357844,
    -0.001615473,  0.00320736,   0.003540357,   -0.003740803, -0.006480126, 0.003463302,
    0.01051323,    -0.00170088,  -0.0155503,    -0.002417595, 0.02130462,   0.01006904,
    -0.02730245,   -0.02317793,  0.03293755,    0.04615452,   -0.03756345,  -0.09490857,
    0.04060521,    0.3144547,    0.4583291};

double tap(int k) { return k < 0 || k > 64 ? 0.0 : kHalfTaps[k <= 32 ? k : 64 - k]; }

}  // namespace

// An impulse on the left of frame 0 shows the even taps in the kept frames,
// one on frame 1 the odd taps; the right channel stays silent.
TEST(DownSampling, ImpulseShowsTheTapsAndConstantInputSettles) {
    DownSamplingFilter f(24, 16);
    for (int phase = 0; phase < 2; ++phase) {
        flush(f);
        std::vector<double> x(2 * 80, 0.0);
        x[2 * phase] = 1.0;
        const std::vector<double> y = run(f, x);
        for (int j = 0; j < 40; ++j) {
            EXPECT_EQ(y[2 * j], tap(2 * j - phase)) << phase << " " << j;
            EXPECT_EQ(y[2 * j + 1], 0.0) << phase << " " << j;
        }
    }

    flush(f);
    const std::vector<double> y = run(f, std::vector<double>(2 * 100, 1.0));
    double settled = tap(64);
    for (int k = 63; k >= 0; --k) settled = tap(k) + settled;
    EXPECT_NEAR(settled, 0.99999998, 5e-9);
    for (int i = 2 * 32; i < 100; ++i) EXPECT_EQ(y[i], settled) << i;
    EXPECT_NE(y[62], settled);
}

// Frame 0 of every block is kept; an odd block keeps only the left value of
// its last kept frame, writes nothing past its length, and still advances
// the history by all its frames.
TEST(DownSampling, MatchesDirectConvolutionAcrossBlocksOfAnySize) {
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
        const std::vector<double> y = run(f, x);
        for (int i = 0; i < frames; ++i) {
            // The transposed form adds a frame's own product last.
            const int channel = i % 2;
            const long frame = start + i - channel;
            double acc = 0.0;
            for (int k = 64; k >= 0; --k)
                acc = (frame >= k ? stream[2 * (frame - k) + channel] * tap(k) : 0.0) + acc;
            EXPECT_EQ(y[i], acc) << frames << " " << i;
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
    const std::vector<double> y = run(b, std::vector<double>(8, 0.0));
    EXPECT_EQ(y[0], tap(2));
    EXPECT_EQ(y[1], tap(2) * 0.5);
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

    RealAudioBuffer empty(nullptr, 0, 0, 44100, 16);
    RealAudioBuffer emptyOut(nullptr, 0, 5, 0, 0);
    EXPECT_EQ(f.process(&empty, &emptyOut), 0);
    EXPECT_EQ(emptyOut.length, 0);
    EXPECT_EQ(emptyOut.sampleRate, 22050);
    EXPECT_EQ(emptyOut.bitsPerSample, 16);

    RealAudioBuffer negative(x.data(), 8, -4, 96000, 24);
    EXPECT_EQ(f.process(&negative, &emptyOut), -1);
}
