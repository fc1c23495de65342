#include <quorvex/CleanResampler.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <thread>
#include <vector>

#include "support/RunBlock.h"

namespace {

using quorvex::CleanResampler;

constexpr double kPi = 3.141592653589793;

// The converter's output for `input`, cut into blocks of the given sizes
// (the last one repeated until the input ends).
std::vector<double> convert(CleanResampler& c, int inRate, const std::vector<double>& input,
                            const std::vector<int>& blockFrames) {
    std::vector<double> output;
    size_t at = 0;
    for (size_t b = 0; at < input.size(); ++b) {
        const int frames = static_cast<int>(std::min<size_t>(
            blockFrames[std::min(b, blockFrames.size() - 1)], (input.size() - at) / 2));
        std::vector<double> block(input.begin() + at, input.begin() + at + 2 * frames);
        std::vector<double> room(2 * c.outputFrames(frames) + 1, testutil::kSentinel);
        RealAudioBuffer in(block.data(), 2 * frames, 2 * frames, inRate, 24);
        RealAudioBuffer out(room.data(), static_cast<int>(room.size()), 0, 0, 0);
        EXPECT_EQ(c.process(&in, &out), 0);
        EXPECT_EQ(out.length + 1, static_cast<int>(room.size()));
        EXPECT_EQ(room.back(), testutil::kSentinel);
        output.insert(output.end(), room.begin(), room.begin() + out.length);
        at += 2 * frames;
    }
    return output;
}

std::vector<double> sine(int frames, double hz, int rate, double amplitude) {
    std::vector<double> x(2 * frames);
    for (int i = 0; i < frames; ++i)
        x[2 * i] = x[2 * i + 1] = amplitude * std::sin(2.0 * kPi * hz * i / rate);
    return x;
}

// The tone at `hz` fitted to the left channel after the window has filled:
// its gain in dB, and everything else the converter added in dB relative to
// the input amplitude.
struct Fit {
    double gainDb;
    double restDb;
};

Fit fitTone(const std::vector<double>& y, double hz, int rate, double amplitude, int skip) {
    const int n = static_cast<int>(y.size() / 2) - 2 * skip;
    double ss = 0, sc = 0, cc = 0, ys = 0, yc = 0;
    for (int i = skip; i < skip + n; ++i) {
        const double s = std::sin(2.0 * kPi * hz * i / rate),
                     c = std::cos(2.0 * kPi * hz * i / rate);
        ss += s * s, sc += s * c, cc += c * c, ys += y[2 * i] * s, yc += y[2 * i] * c;
    }
    const double det = ss * cc - sc * sc;
    const double a = (ys * cc - yc * sc) / det, b = (yc * ss - ys * sc) / det;
    double rest = 0.0;
    for (int i = skip; i < skip + n; ++i) {
        const double e = y[2 * i] - a * std::sin(2.0 * kPi * hz * i / rate) -
                         b * std::cos(2.0 * kPi * hz * i / rate);
        rest += e * e;
    }
    return {20.0 * std::log10(std::hypot(a, b) / amplitude),
            10.0 * std::log10(2.0 * rest / n / (amplitude * amplitude) + 1e-300)};
}

// The left channel's power after `skip` frames, in dB relative to a sine of
// `amplitude`.
double levelDb(const std::vector<double>& y, double amplitude, int skip) {
    double sum = 0.0;
    const size_t frames = y.size() / 2 - skip;
    for (size_t i = skip; i < y.size() / 2; ++i) sum += y[2 * i] * y[2 * i];
    return 10.0 * std::log10(2.0 * sum / frames / (amplitude * amplitude) + 1e-300);
}

const int kPairs[][2] = {{44100, 48000}, {48000, 44100}, {44100, 96000},
                         {96000, 44100}, {96000, 48000}, {8000, 44100}};

// Flat to 0.9 x the lower Nyquist frequency, nothing else above -120 dB
// (the images of rising rates included); tones the output cannot carry
// leave aliases below -120 dB.
TEST(CleanResamplerResponse, PassBandFlatImagesAndAliasesGone) {
    for (const auto& pair : kPairs) {
        const int inRate = pair[0], outRate = pair[1];
        const double lowerNyquist = 0.5 * std::min(inRate, outRate);
        SCOPED_TRACE(std::to_string(inRate) + " -> " + std::to_string(outRate));
        for (double hz :
             {20.0, 997.0, 0.5 * lowerNyquist, 0.9 * lowerNyquist, 0.99 * lowerNyquist,
              1.01 * lowerNyquist, 0.5 * (lowerNyquist + 0.5 * inRate), 0.5 * inRate - 20.0}) {
            if (hz >= 0.5 * inRate) continue;
            CleanResampler c(inRate, outRate, 24);
            const std::vector<double> y =
                convert(c, inRate, sine(3 * inRate / 4, hz, inRate, 0.5), {4096});
            const int skip = static_cast<int>(std::ceil(2 * c.latencySeconds() * outRate));
            const Fit fit = fitTone(y, hz, outRate, 0.5, skip);
            if (hz <= 0.9 * lowerNyquist) {
                EXPECT_NEAR(fit.gainDb, 0.0, 0.01) << hz;
                EXPECT_LT(fit.restDb, -120.0) << hz;
            } else if (hz < lowerNyquist) {
                EXPECT_LT(fit.restDb, -120.0) << hz;  // images of the transition band
            } else {
                EXPECT_LT(levelDb(y, 0.5, skip), -120.0) << hz;  // aliases
            }
        }
    }
}

// A constant comes out as the same constant, to float precision.
TEST(CleanResamplerResponse, ConstantInConstantOut) {
    for (const auto& pair : kPairs) {
        CleanResampler c(pair[0], pair[1], 24);
        const std::vector<double> y =
            convert(c, pair[0], std::vector<double>(2 * pair[0] / 10, 0.75), {1000});
        const size_t skip = 2 * static_cast<size_t>(std::ceil(2 * c.latencySeconds() * pair[1]));
        for (size_t i = skip; i + skip < y.size(); ++i) ASSERT_NEAR(y[i], 0.75, 0.75e-6) << i;
    }
}

// Linear phase: an impulse at 44.1 to 88.2 kHz comes out symmetric about
// the latency, to the float precision of the FFT that runs the filter.
TEST(CleanResamplerResponse, ImpulseResponseIsSymmetric) {
    CleanResampler c(44100, 88200, 24);
    const int centre = static_cast<int>(std::lround(c.latencySeconds() * 88200));
    std::vector<double> x(2 * (centre + 1), 0.0);
    x[0] = x[1] = 1.0;
    const std::vector<double> y = convert(c, 44100, x, {1000});
    ASSERT_GT(y.size(), 4 * static_cast<size_t>(centre));
    for (int k = 1; k <= centre; ++k)
        ASSERT_NEAR(y[2 * (centre + k)], y[2 * (centre - k)], 1e-7) << k;
    EXPECT_GT(y[2 * centre], 0.9);
}

// However the stream is cut (empty blocks and single frames included), the
// output is the same, bit for bit, and exactly floor(frames x out / in)
// frames long.
TEST(CleanResamplerStream, AnyBlockSequenceGivesTheSameExactOutput) {
    std::mt19937 random(17);
    for (const auto& pair : kPairs) {
        const int frames = 40000 + static_cast<int>(random() % 1000);
        const std::vector<double> x = sine(frames, 1234.5, pair[0], 0.8);
        CleanResampler whole(pair[0], pair[1], 24);
        const std::vector<double> expected = convert(whole, pair[0], x, {frames});
        ASSERT_EQ(expected.size(), 2 * static_cast<size_t>(int64_t{frames} * pair[1] / pair[0]));
        std::vector<int> blocks;
        for (int i = 0; i < 400; ++i) blocks.push_back(i % 7 == 0 ? i % 2 : random() % 600);
        blocks.push_back(9000);  // past the converter's piece size
        CleanResampler cut(pair[0], pair[1], 24);
        EXPECT_TRUE(testutil::sameBits(convert(cut, pair[0], x, blocks), expected)) << pair[0];
    }
}

// Each instance keeps its own state: two at different rates on two threads
// give what each gives alone.
TEST(CleanResamplerStream, InstancesOnTwoThreadsEqualEachAlone) {
    const std::vector<double> x = sine(50000, 440.0, 96000, 0.5);
    const auto run = [&](int outRate) {
        CleanResampler c(96000, outRate, 24);
        return convert(c, 96000, x, {333});
    };
    const std::vector<double> alone44 = run(44100), alone48 = run(48000);
    std::vector<double> together44, together48;
    std::thread a([&] { together44 = run(44100); });
    std::thread b([&] { together48 = run(48000); });
    a.join();
    b.join();
    EXPECT_TRUE(testutil::sameBits(together44, alone44));
    EXPECT_TRUE(testutil::sameBits(together48, alone48));
}

// A checksum of the output bits for a sine.
uint64_t outputHash(int inRate, int outRate) {
    CleanResampler c(inRate, outRate, 24);
    const std::vector<double> y = convert(c, inRate, sine(5000, 1000.0, inRate, 0.9), {5000});
    uint64_t hash = 1469598103934665603ull;
    for (double v : y) {
        uint64_t bits;
        std::memcpy(&bits, &v, sizeof bits);
        hash = (hash ^ bits) * 1099511628211ull;
    }
    return hash;
}

// The arithmetic is the converter's own and fixed: these checksums hold for
// the plain and the fused 256-bit build of the kernels alike.
TEST(CleanResamplerStream, OutputBitsAreFixed) {
    EXPECT_EQ(outputHash(44100, 48000), 18207132104370917171u);
    // The two-stage shapes, rising and falling.
    EXPECT_EQ(outputHash(44100, 96000), 2376386091572186595u);
    EXPECT_EQ(outputHash(96000, 44100), 13764356010092651203u);
}

// Equal rates pass the samples through untouched and without delay; rates
// outside the converter's reach, and outputs too small, are refused with
// nothing written.
TEST(CleanResamplerStream, PassesThroughAndRefusesClearly) {
    CleanResampler same(48000, 48000, 24);
    const std::vector<double> x = sine(100, 1000.0, 48000, 0.3);
    EXPECT_TRUE(testutil::sameBits(testutil::runBlock(same, x, 48000), x));
    EXPECT_EQ(same.latencySeconds(), 0.0);
    for (const auto& rates : {std::pair{44100, 44101}, {7999, 48000}, {48000, 384001}}) {
        EXPECT_FALSE(CleanResampler::converts(rates.first, rates.second));
        CleanResampler c(rates.first, rates.second, 24);
        std::vector<double> room(1000, testutil::kSentinel), input(200, 0.1);
        RealAudioBuffer in(input.data(), 200, 200, rates.first, 24);
        RealAudioBuffer out(room.data(), 1000, 0, 0, 0);
        EXPECT_EQ(c.process(&in, &out), -1);
        EXPECT_EQ(room, std::vector<double>(1000, testutil::kSentinel));
    }
    CleanResampler c(44100, 48000, 24);
    std::vector<double> room(433, testutil::kSentinel), input(400, 0.1);
    RealAudioBuffer in(input.data(), 400, 400, 44100, 24);
    RealAudioBuffer out(room.data(), 433, 0, 0, 0);
    EXPECT_EQ(c.outputFrames(200), 217);
    EXPECT_EQ(c.process(&in, &out), -1);
    EXPECT_EQ(room, std::vector<double>(433, testutil::kSentinel));
}

}  // namespace
