#include <quorvex/UpSamplingFilter.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "rate/velmo/VelmoModel.h"
#include "rate/velmo/VelmoTables.h"

// Every case runs in a fresh process (CTest), where all history is zero.

namespace {

constexpr unsigned long kId = 0x70564C43;

struct Block {
    unsigned char bytes[20];

    static Block of(UpSamplingFilter& f) {
        Block b;
        EXPECT_EQ(f.getParamData(kId, b.bytes, sizeof b.bytes), 20);
        return b;
    }
    Block& set32(int offset, uint32_t v) {
        std::memcpy(bytes + offset, &v, 4);
        return *this;
    }
    Block& enabled(unsigned char v) {
        bytes[8] = v;
        return *this;
    }
    Block& mp3(unsigned char v) {
        bytes[9] = v;
        return *this;
    }
    Block& mode(int32_t v) { return set32(12, static_cast<uint32_t>(v)); }
    bool operator==(const Block& o) const { return std::memcmp(bytes, o.bytes, 20) == 0; }
};

struct Output {
    std::vector<double> data;
    int length, sampleRate, bits;
};

// Runs one block; the output area is one double larger than needed and
// starts as a marker, so unwritten and overrun doubles show.
Output run(UpSamplingFilter& f, const std::vector<double>& x, int rate, int bits) {
    std::vector<double> inData(x);
    std::vector<double> outData(2 * x.size() + 1, -7.0);
    RealAudioBuffer in(inData.data(), static_cast<int>(inData.size()),
                       static_cast<int>(inData.size()), rate, bits);
    RealAudioBuffer out(outData.data(), static_cast<int>(outData.size()), 0, 0, 0);
    EXPECT_EQ(f.process(&in, &out), 0);
    return {outData, out.length, out.sampleRate, out.bitsPerSample};
}

// What the plain interpolator gives for `x` from a cleared line.
std::vector<double> interpolated(const std::vector<double>& x) {
    velmo_model::Enhancer model;
    std::vector<double> y;
    for (std::size_t i = 0; i + 1 < x.size(); i += 2)
        for (const velmo_model::Frame& f : model.run(velmo_model::kOff, {x[i], x[i + 1]})) {
            y.push_back(f.l);
            y.push_back(f.r);
        }
    return y;
}

void expectPrefix(const std::vector<double>& got, const std::vector<double>& want) {
    ASSERT_GE(got.size(), want.size());
    for (std::size_t i = 0; i < want.size(); ++i) ASSERT_EQ(got[i], want[i]) << i;
}

}  // namespace

TEST(UpSamplingFilterParams, DefaultBlockAndName) {
    UpSamplingFilter f;
    unsigned char b[24];
    std::memset(b, 0xEE, sizeof b);
    EXPECT_EQ(f.getParamData(kId, b, 24), 20);
    const unsigned char expected[20] = {0x43, 0x4C, 0x56, 0x6D, 20, 0, 0, 0, 0, 0,
                                        0,    0,    1,    0,    0, 0, 0x6D, 0x56, 0x4C, 0x43};
    EXPECT_EQ(std::memcmp(b, expected, 20), 0);
    EXPECT_EQ(b[20], 0xEE);
    EXPECT_STREQ(f.getName(), "Velmo");
    EXPECT_FALSE(f.useUpSampler32());

    EXPECT_EQ(f.getParamData(kId + 1, b, 24), 0);
    EXPECT_EQ(f.getParamData(kId, b, 19), -1);
    EXPECT_EQ(f.getParamData(kId, b, -1), 20);  // the size is compared unsigned
    EXPECT_EQ(f.getParamData(kId, nullptr, 20), -1);
}

TEST(UpSamplingFilterParams, InvalidBlocksAreRejectedAndChangeNothing) {
    UpSamplingFilter f;
    const Block stored = Block::of(f);
    const Block good = Block(stored).enabled(1).mp3(1).mode(2);

    EXPECT_EQ(f.setParamData(kId + 1, good.bytes, 20), 0);
    EXPECT_EQ(f.setParamData(kId, good.bytes, 19), -1);
    EXPECT_EQ(f.setParamData(kId, nullptr, 20), -1);
    EXPECT_EQ(f.setParamData(kId, Block(good).set32(0, 0x6D564C44).bytes, 20), -1);
    EXPECT_EQ(f.setParamData(kId, Block(good).set32(4, 24).bytes, 20), -1);
    EXPECT_EQ(f.setParamData(kId, Block(good).set32(16, 0x6D564C43).bytes, 20), -1);
    for (int32_t mode : {0, 3, -1}) EXPECT_EQ(f.setParamData(kId, Block(good).mode(mode).bytes, 20), -1);
    EXPECT_TRUE(Block::of(f) == stored);

    EXPECT_EQ(f.setParamData(kId, good.bytes, -1), 20);  // unsigned: large enough
    EXPECT_TRUE(Block::of(f) == good);
}

TEST(UpSamplingFilterParams, ReservedBytesAloneAreNotStored) {
    UpSamplingFilter f;
    Block b = Block::of(f);
    b.bytes[10] = 0x5A;
    b.bytes[11] = 0xA5;
    EXPECT_EQ(f.setParamData(kId, b.bytes, 20), 20);
    EXPECT_EQ(Block::of(f).bytes[10], 0);

    b.enabled(3);
    EXPECT_EQ(f.setParamData(kId, b.bytes, 20), 20);
    EXPECT_TRUE(Block::of(f) == b);  // a real change stores every byte
}

// The plain interpolator's line is one that a reset clears: the output after
// a parameter call shows whether it reset.
TEST(UpSamplingFilterParams, OnlyARealChangeResets) {
    UpSamplingFilter f;
    const std::vector<double> first = velmo_model::noise(64, 1);
    const std::vector<double> second = velmo_model::noise(64, 2);
    std::vector<double> both(first);
    both.insert(both.end(), second.begin(), second.end());
    const std::vector<double> continuous = interpolated(both);
    const std::vector<double> afterReset = interpolated(second);

    // Enabled at 32 kHz still interpolates plainly, so every setting below
    // runs the same line.
    run(f, first, 32000, 16);
    EXPECT_EQ(f.setParamData(kId, Block::of(f).bytes, 20), 20);  // unchanged
    expectPrefix(run(f, second, 32000, 16).data,
                 std::vector<double>(continuous.begin() + 128, continuous.end()));

    EXPECT_EQ(f.setParamData(kId, Block::of(f).mode(2).bytes, 20), 20);
    run(f, first, 32000, 16);
    EXPECT_EQ(f.setParamData(kId, Block::of(f).enabled(1).bytes, 20), 20);
    expectPrefix(run(f, second, 32000, 16).data, afterReset);

    run(f, first, 32000, 16);
    EXPECT_EQ(f.setParamData(kId, Block::of(f).enabled(2).bytes, 20), 20);  // still on, yet changed
    expectPrefix(run(f, second, 32000, 16).data, afterReset);

    run(f, first, 32000, 16);
    f.setUseUpSampler32(true);
    f.reset();
    expectPrefix(run(f, second, 32000, 16).data, afterReset);
    EXPECT_TRUE(f.useUpSampler32());
}

TEST(UpSamplingFilterProcess, DoublesTheRateAtAnyRateWhenOff) {
    UpSamplingFilter f;
    const std::vector<double> x = velmo_model::noise(2 * 40, 4);
    const Output y = run(f, x, 32000, 16);
    EXPECT_EQ(y.length, 160);
    EXPECT_EQ(y.sampleRate, 64000);
    EXPECT_EQ(y.bits, 24);
    expectPrefix(y.data, interpolated(x));
    EXPECT_EQ(y.data[160], -7.0);

    const Output z = run(f, x, 44100, 32);
    EXPECT_EQ(z.sampleRate, 88200);
    EXPECT_EQ(z.bits, 24);
}

TEST(UpSamplingFilterProcess, EmptyOddAndTightBlocks) {
    UpSamplingFilter f;
    f.setParamData(kId, Block::of(f).enabled(1).bytes, 20);
    const Output empty = run(f, {}, 48000, 16);
    EXPECT_EQ(empty.length, 0);
    EXPECT_EQ(empty.sampleRate, 96000);
    EXPECT_EQ(empty.bits, 24);

    // An odd length: the last double is not read, 4F doubles are written.
    const Output odd = run(f, {0.1, 0.2, 0.3, 0.4, 0.5}, 44100, 24);
    EXPECT_EQ(odd.length, 10);
    EXPECT_NE(odd.data[7], -7.0);
    EXPECT_EQ(odd.data[8], -7.0);

    std::vector<double> x(6, 0.25), y(12, -7.0);
    RealAudioBuffer in(x.data(), 6, 6, 44100, 16);
    RealAudioBuffer tight(y.data(), 11, 3, 22050, 8);
    EXPECT_EQ(f.process(&in, &tight), -1);
    EXPECT_EQ(tight.length, 3);
    EXPECT_EQ(tight.sampleRate, 22050);
    EXPECT_EQ(tight.bitsPerSample, 8);
    EXPECT_EQ(y[0], -7.0);
    RealAudioBuffer exact(y.data(), 12, 0, 0, 0);
    EXPECT_EQ(f.process(&in, &exact), 0);
    EXPECT_EQ(exact.length, 12);
    EXPECT_NE(y[11], -7.0);
}

TEST(UpSamplingFilterProcess, UnsupportedFormatWithEnhancerOnInterpolatesPlainly) {
    UpSamplingFilter f;
    f.setParamData(kId, Block::of(f).enabled(1).bytes, 20);
    const std::vector<double> x = velmo_model::noise(2 * 30, 8);
    const Output y = run(f, x, 44100, 32);
    EXPECT_EQ(y.length, 120);
    EXPECT_EQ(y.sampleRate, 88200);
    EXPECT_EQ(y.bits, 24);
    expectPrefix(y.data, interpolated(x));
}

namespace {

struct PathCase {
    int bits, rate;
    int32_t mode;
    bool mp3, use32;
    VelmoBiquadCoeffs section;
    velmo_model::Kernel kernel;
};

std::ostream& operator<<(std::ostream& os, const PathCase& c) {
    return os << c.bits << " bits " << c.rate << " Hz mode " << c.mode << (c.mp3 ? " mp3" : " cd")
              << (c.use32 ? " use32" : "");
}

class UpSamplingFilterPath : public ::testing::TestWithParam<PathCase> {};

}  // namespace

// Two blocks, the first of odd length, through the filter and through the
// reference section and kernel that the format and settings call for.
TEST_P(UpSamplingFilterPath, MatchesTheReferenceBitForBit) {
    const PathCase& c = GetParam();
    UpSamplingFilter f;
    f.setUseUpSampler32(c.use32);
    Block b = Block::of(f).enabled(1).mp3(c.mp3 ? 9 : 0).mode(c.mode);
    ASSERT_EQ(f.setParamData(kId, b.bytes, 20), 20);

    velmo_model::Enhancer model;
    velmo_model::Biquad section(c.section);
    for (unsigned seed : {21u, 22u}) {
        const std::vector<double> x = velmo_model::noise(seed == 21 ? 2 * 37 + 1 : 2 * 50, seed);
        const Output y = run(f, x, c.rate, c.bits);
        EXPECT_EQ(y.length, static_cast<int>(2 * x.size()));
        EXPECT_EQ(y.sampleRate, 2 * c.rate);
        for (std::size_t i = 0; i + 1 < x.size(); i += 2) {
            const auto want = model.run(c.kernel, section.step({x[i], x[i + 1]}));
            ASSERT_EQ(y.data[2 * i], want[0].l) << i;
            ASSERT_EQ(y.data[2 * i + 1], want[0].r) << i;
            ASSERT_EQ(y.data[2 * i + 2], want[1].l) << i;
            ASSERT_EQ(y.data[2 * i + 3], want[1].r) << i;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    AllFormats, UpSamplingFilterPath,
    ::testing::Values(
        PathCase{16, 44100, 1, false, false, sVelmoSuper44K, velmo_model::kCD},
        PathCase{16, 44100, 2, false, false, sVelmoFine44K, velmo_model::kCD},
        PathCase{16, 44100, 1, true, false, sVelmoSuper44K, velmo_model::kMP3},
        PathCase{16, 44100, 2, true, true, sVelmoFine44K, velmo_model::kMP3},
        PathCase{24, 44100, 1, false, true, sVelmoSuper44K, velmo_model::kCD},
        PathCase{24, 44100, 2, true, false, sVelmoFine44K, velmo_model::kMP3},
        PathCase{16, 48000, 1, false, false, sVelmoSuper48K16, velmo_model::kCD},
        PathCase{16, 48000, 2, true, false, sVelmoFine48K16, velmo_model::kMP3},
        PathCase{16, 48000, 1, false, true, sVelmoSuper48K16, velmo_model::kCD32},
        PathCase{16, 48000, 2, false, true, sVelmoFine48K16, velmo_model::kCD32},
        PathCase{16, 48000, 1, true, true, sVelmoSuper48K16, velmo_model::kMP332},
        PathCase{24, 48000, 1, true, false, sVelmoSuper48K24, velmo_model::kMP3},
        PathCase{24, 48000, 2, false, true, sVelmoFine48K24, velmo_model::kCD},
        PathCase{24, 48000, 2, true, true, sVelmoFine48K24, velmo_model::kMP3}));
