#include "pcm/PcmConversion.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

constexpr int kDepths[] = {16, 24, 32};

// Lengths around the lanes and the staging chunks, where a block's tail is
// handled apart.
constexpr int kLengths[] = {0, 1, 3, 7, 255, 256, 257, 1000};

uint64_t bitsOf(double x) {
    uint64_t bits;
    std::memcpy(&bits, &x, sizeof bits);
    return bits;
}

// Every byte pattern a sample can start with, the extremes and random words.
Bytes pcmEdgesAndNoise(int bits, int n) {
    const int width = bits / 8;
    Bytes bytes(static_cast<size_t>(n * width));
    std::mt19937 random(static_cast<unsigned>(bits * 7919 + n));
    for (auto& b : bytes) b = static_cast<unsigned char>(random());
    const unsigned char edges[][4] = {{0x00, 0x00, 0x00, 0x80}, {0xFF, 0xFF, 0xFF, 0x7F},
                                      {0xFF, 0xFF, 0xFF, 0xFF}, {0x00, 0x00, 0x00, 0x00},
                                      {0x01, 0x00, 0x00, 0x00}, {0x00, 0x80, 0x00, 0x00}};
    for (int i = 0; i < n && i < 6; ++i) {
        std::memcpy(&bytes[static_cast<size_t>(i * width)], edges[i] + 4 - width,
                    static_cast<size_t>(width));
    }
    return bytes;
}

// Samples about full scale, the limits of each depth's range and of 32-bit
// lanes, and what has no integer value.
std::vector<double> doublesEdgesAndNoise(int n, bool withHuge) {
    const double inf = std::numeric_limits<double>::infinity();
    std::vector<double> edges = {0.0,
                                 -0.0,
                                 1.0,
                                 -1.0,
                                 1.0 + 1e-12,
                                 -1.0 - 1e-12,
                                 0.99999999,
                                 32767.5 / 32768.0,
                                 -32768.5 / 32768.0,
                                 1.5 / 32768.0,
                                 -1.5 / 32768.0,
                                 std::numeric_limits<double>::denorm_min(),
                                 2.0,
                                 -2.0,
                                 255.99,
                                 -256.01,
                                 std::numeric_limits<double>::quiet_NaN()};
    if (withHuge) edges.insert(edges.end(), {inf, -inf, 257.0, -257.0, 1e300, -1e300, 1e11, -1e11});
    std::vector<double> x(static_cast<size_t>(n));
    std::mt19937_64 random(static_cast<unsigned>(n));
    std::uniform_real_distribution<double> level(-1.2, 1.2);
    for (double& v : x) v = level(random);
    for (size_t i = 0; i < edges.size() && i < x.size(); ++i) x[x.size() - 1 - i] = edges[i];
    return x;
}

}  // namespace

TEST(PcmConversion, BlocksToDoublesMatchEachSample) {
    for (const int bits : kDepths)
        for (const int n : kLengths) {
            const Bytes pcm = pcmEdgesAndNoise(bits, n);
            std::vector<double> block(static_cast<size_t>(n) + 1, -7.0);
            pcm::toDoubles(bits, pcm.data(), block.data(), n);
            for (int i = 0; i < n; ++i)
                ASSERT_EQ(
                    bitsOf(block[static_cast<size_t>(i)]),
                    bitsOf(pcm::sampleToDouble(bits, &pcm[static_cast<size_t>(i * bits / 8)])))
                    << bits << " bits, sample " << i << " of " << n;
            EXPECT_EQ(block.back(), -7.0) << "written past the block";
        }
}

// With and without samples beyond what a 32-bit lane holds, which send a
// 24-bit chunk down its 64-bit path while the chunks around it stay in lanes.
TEST(PcmConversion, BlocksFromDoublesMatchEachSample) {
    for (const bool withHuge : {false, true})
        for (const int bits : kDepths)
            for (const int n : kLengths) {
                const int width = bits / 8;
                const std::vector<double> x = doublesEdgesAndNoise(n, withHuge);
                Bytes block(static_cast<size_t>(n * width + 1), 0xEE);
                pcm::fromDoubles(bits, x.data(), block.data(), n);
                Bytes each(static_cast<size_t>(n * width + 1), 0xEE);
                for (int i = 0; i < n; ++i)
                    pcm::sampleFromDouble(bits, x[static_cast<size_t>(i)],
                                          &each[static_cast<size_t>(i * width)]);
                ASSERT_EQ(block, each) << bits << " bits, " << n << " samples";
            }
}

TEST(PcmConversion, FromDoublesClampsOrWrapsByDepth) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double x[] = {1.0, -1.0, 2.0, nan};
    Bytes out(4 * 4);
    pcm::fromDoubles(16, x, out.data(), 4);
    EXPECT_EQ(out, (Bytes{0xFF, 0x7F, 0x00, 0x80, 0xFF, 0x7F, 0x00, 0x00, 0, 0, 0, 0, 0, 0, 0, 0}));
    pcm::fromDoubles(24, x, out.data(), 4);
    // 2.0 scales to 16777214, whose low 24 bits are 0xFFFFFE.
    EXPECT_EQ(out,
              (Bytes{0xFF, 0xFF, 0x7F, 0x01, 0x00, 0x80, 0xFE, 0xFF, 0xFF, 0, 0, 0, 0, 0, 0, 0}));
}
