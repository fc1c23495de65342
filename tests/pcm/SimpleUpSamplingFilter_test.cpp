#include <quorvex/SimpleUpSamplingFilter.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <memory>
#include <vector>

#include "pcm/PcmSamples.h"

namespace {

using Bytes = std::vector<unsigned char>;

Bytes pack16(const std::vector<int>& samples) {
    Bytes b(2 * samples.size());
    for (size_t i = 0; i < samples.size(); ++i) pcm::write16(&b[2 * i], samples[i]);
    return b;
}

struct Outcome {
    int result;
    Bytes out;
};

// Runs one block into an output area of exactly the result's size (plus
// `extraCapacity`), marked with 0xEE so that unwritten bytes show.
Outcome resample(int inRate, int inBits, const Bytes& in, int outRate, int outBits,
                 int extraCapacity = 0) {
    SimpleUpSamplingFilter f;
    const int64_t n = static_cast<int64_t>(in.size()) / (inBits / 8);
    const int64_t bytes = outBits / 8 * (n * outRate / inRate) + extraCapacity;
    // An exact-size heap copy lets ASan catch any read past the input.
    std::unique_ptr<unsigned char[]> exactIn(new unsigned char[in.size()]);
    std::copy(in.begin(), in.end(), exactIn.get());
    Bytes out(static_cast<size_t>(bytes), 0xEE);
    const int r = f.process(inRate, inBits, exactIn.get(), static_cast<int>(in.size()), outRate,
                            outBits, out.data(), static_cast<int>(bytes));
    return {r, out};
}

}  // namespace

// Whole ratios repeat or drop frames, depths change by shifting bytes, equal
// formats are copied whatever the depth, and frames that end incomplete are
// counted but not written (-4370 is the untouched 0xEEEE).
TEST(SimpleUpSamplingFilter, ConvertsByRepeatingFramesAndShiftingBytes) {
    Bytes sevenBytes = pack16({1, 2, 3, 4});
    sevenBytes.pop_back();
    const struct {
        int inRate, inBits;
        Bytes in;
        int outRate, outBits, result;
        Bytes out;
    } cases[] = {
        {44100, 16, pack16({1, -1, 2, -2, 3, -3}), 88200, 16, 24,
         pack16({1, -1, 1, -1, 2, -2, 2, -2, 3, -3, 3, -3})},
        {44100, 16, pack16({5, 6, 7, 8}), 176400, 16, 32,
         pack16({5, 6, 5, 6, 5, 6, 5, 6, 7, 8, 7, 8, 7, 8, 7, 8})},
        {88200, 16, pack16({1, 1, 2, 2, 3, 3, 4, 4}), 44100, 16, 8, pack16({1, 1, 3, 3})},
        {48000, 24, {0x56, 0x34, 0x12, 0xFF, 0xFF, 0xFF, 0x00, 0xFF, 0xFF, 0x00, 0x00, 0x80},
         48000, 16, 8, {0x34, 0x12, 0xFF, 0xFF, 0xFF, 0xFF, 0x00, 0x80}},
        {48000, 16, pack16({0x1234, -1}), 48000, 24, 6, {0x00, 0x34, 0x12, 0x00, 0xFF, 0xFF}},
        {44100, 16, pack16({0x1234, -1}), 88200, 24, 12,
         {0x00, 0x34, 0x12, 0x00, 0xFF, 0xFF, 0x00, 0x34, 0x12, 0x00, 0xFF, 0xFF}},
        {96000, 32, {1, 2, 3, 4, 5, 6, 7, 8, 9}, 96000, 32, 8, {1, 2, 3, 4, 5, 6, 7, 8}},
        {44100, 8, {9, 8, 7}, 44100, 8, 3, {9, 8, 7}},
        {44100, 16, pack16({1, 1, 2, 2, 3, 3}), 66150, 16, 18,
         pack16({1, 1, 1, 1, 2, 2, 3, 3, -4370})},
        {44100, 16, sevenBytes, 88200, 16, 12, pack16({1, 2, 1, 2, -4370, -4370})},
    };
    for (const auto& c : cases) {
        const Outcome r = resample(c.inRate, c.inBits, c.in, c.outRate, c.outBits);
        EXPECT_EQ(r.result, c.result) << c.inRate << " " << c.outRate << " " << c.outBits;
        EXPECT_EQ(r.out, c.out) << c.inRate << " " << c.outRate << " " << c.outBits;
    }
}

TEST(SimpleUpSamplingFilter, FortyFourOneToFortyEightRepeatsByTheFloor) {
    std::vector<int> samples;
    for (int f = 0; f < 441; ++f) samples.insert(samples.end(), {f, -f});
    const Outcome r = resample(44100, 16, pack16(samples), 48000, 16);
    ASSERT_EQ(r.result, 960 * 2);
    for (int j = 0; j < 480; ++j) {
        const int s = j * 882 / 960;
        ASSERT_EQ(pcm::read16(&r.out[4 * j]), s) << j;
        ASSERT_EQ(pcm::read16(&r.out[4 * j + 2]), -s) << j;
    }
}

TEST(SimpleUpSamplingFilter, UnsupportedConversionsAndShortOutputWriteNothing) {
    const Bytes in = pack16({1, 2, 3, 4});
    for (const Outcome& r :
         {resample(44100, 16, in, 44100, 32), resample(44100, 24, Bytes(6), 44100, 8),
          resample(44100, 32, Bytes(8), 88200, 32), resample(44100, 32, Bytes(8), 44100, 16),
          resample(44100, 16, in, 88200, 16, -1), resample(44100, 16, in, 44100, 16, -1)}) {
        EXPECT_EQ(r.result, -1);
        EXPECT_EQ(r.out, Bytes(r.out.size(), 0xEE));
    }
    SimpleUpSamplingFilter f;
    Bytes out(8, 0xEE);
    EXPECT_EQ(f.process(44100, 12, in.data(), 4, 44100, 16, out.data(), 8), -1);
    EXPECT_EQ(f.process(0, 16, in.data(), 4, 44100, 16, out.data(), 8), -1);
    EXPECT_EQ(f.process(44100, 16, in.data(), 4, -44100, 16, out.data(), 8), -1);
    EXPECT_EQ(f.process(44100, 16, in.data(), -4, 44100, 16, out.data(), 8), -1);
    EXPECT_EQ(f.process(8000, 8, in.data(), 4, INT_MAX, INT_MAX - 7, out.data(), 8), -1);
    // An output rate of 0 is an empty block, unless the depths have no conversion.
    EXPECT_EQ(f.process(44100, 16, in.data(), 4, 0, 24, out.data(), 0), 0);
    EXPECT_EQ(f.process(44100, 16, in.data(), 4, 0, 16, out.data(), 8), 0);
    EXPECT_EQ(f.process(44100, 16, in.data(), 4, 0, 32, out.data(), 8), -1);
    EXPECT_EQ(out, Bytes(8, 0xEE));
}

TEST(SimpleUpSamplingFilter, HasNoParameters) {
    SimpleUpSamplingFilter f;
    unsigned char block[32] = {};
    EXPECT_STREQ(f.getName(), "IntSimpleUpSamplingFilter");
    EXPECT_EQ(f.setParamData(0x70414C43, block, 32), 0);
    EXPECT_EQ(f.getParamData(0x70414C43, nullptr, -1), 0);
}
