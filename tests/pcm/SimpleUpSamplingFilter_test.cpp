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

std::vector<int> unpack16(const Bytes& b) {
    std::vector<int> v;
    for (size_t i = 0; i + 1 < b.size(); i += 2) v.push_back(pcm::read16(&b[i]));
    return v;
}

// Runs one block with an output area of exactly the result's size.
struct Outcome {
    int result;
    Bytes out;
};

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

TEST(SimpleUpSamplingFilter, RepeatsFramesForWholeRatios) {
    const Bytes abc = pack16({1, -1, 2, -2, 3, -3});
    const Outcome twice = resample(44100, 16, abc, 88200, 16);
    EXPECT_EQ(twice.result, 24);
    EXPECT_EQ(unpack16(twice.out), (std::vector<int>{1, -1, 1, -1, 2, -2, 2, -2, 3, -3, 3, -3}));

    const Outcome four = resample(44100, 16, pack16({5, 6, 7, 8}), 176400, 16);
    EXPECT_EQ(four.result, 32);
    EXPECT_EQ(unpack16(four.out),
              (std::vector<int>{5, 6, 5, 6, 5, 6, 5, 6, 7, 8, 7, 8, 7, 8, 7, 8}));

    const Outcome half = resample(88200, 16, pack16({1, 1, 2, 2, 3, 3, 4, 4}), 44100, 16);
    EXPECT_EQ(unpack16(half.out), (std::vector<int>{1, 1, 3, 3}));
}

TEST(SimpleUpSamplingFilter, FortyFourOneToFortyEightRepeatsByTheFloor) {
    std::vector<int> samples;
    for (int f = 0; f < 441; ++f) samples.insert(samples.end(), {f, -f});
    const Outcome r = resample(44100, 16, pack16(samples), 48000, 16);
    ASSERT_EQ(r.result, 960 * 2);
    const std::vector<int> out = unpack16(r.out);
    int twice = 0;
    for (int j = 0; j < 480; ++j) {
        const int s = j * 882 / 960;
        ASSERT_EQ(out[2 * j], s);
        ASSERT_EQ(out[2 * j + 1], -s);
        if (j > 0 && out[2 * j] == out[2 * j - 2]) ++twice;
    }
    EXPECT_EQ(twice, 39);  // 480 output frames from 441 input frames
}

TEST(SimpleUpSamplingFilter, ChangesDepthByShiftingBytes) {
    const Bytes in24 = {0x56, 0x34, 0x12, 0xFF, 0xFF, 0xFF, 0x00, 0xFF, 0xFF, 0x00, 0x00, 0x80};
    const Outcome narrowed = resample(48000, 24, in24, 48000, 16);
    EXPECT_EQ(narrowed.result, 8);
    EXPECT_EQ(narrowed.out, (Bytes{0x34, 0x12, 0xFF, 0xFF, 0xFF, 0xFF, 0x00, 0x80}));

    const Outcome widened = resample(48000, 16, pack16({0x1234, -1}), 48000, 24);
    EXPECT_EQ(widened.result, 6);
    EXPECT_EQ(widened.out, (Bytes{0x00, 0x34, 0x12, 0x00, 0xFF, 0xFF}));

    const Outcome widenedTwice = resample(44100, 16, pack16({0x1234, -1}), 88200, 24);
    EXPECT_EQ(widenedTwice.out, (Bytes{0x00, 0x34, 0x12, 0x00, 0xFF, 0xFF, 0x00, 0x34, 0x12,
                                       0x00, 0xFF, 0xFF}));
}

TEST(SimpleUpSamplingFilter, SameFormatIsCopiedWhateverTheDepth) {
    const Bytes in32 = {1, 2, 3, 4, 5, 6, 7, 8, 9};  // the ninth byte is a partial sample
    const Outcome copied = resample(96000, 32, in32, 96000, 32);
    EXPECT_EQ(copied.result, 8);
    EXPECT_EQ(copied.out, (Bytes{1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(resample(44100, 8, Bytes{9, 8, 7}, 44100, 8).out, (Bytes{9, 8, 7}));
}

TEST(SimpleUpSamplingFilter, UnsupportedConversionsWriteNothing) {
    const Bytes in = pack16({1, 2});
    for (const Outcome& r :
         {resample(44100, 16, in, 44100, 32), resample(44100, 24, Bytes(6), 44100, 8),
          resample(44100, 32, Bytes(8), 88200, 32), resample(44100, 32, Bytes(8), 44100, 16)}) {
        EXPECT_EQ(r.result, -1);
        EXPECT_EQ(r.out, Bytes(r.out.size(), 0xEE));
    }
    SimpleUpSamplingFilter f;
    Bytes out(8);
    EXPECT_EQ(f.process(44100, 12, in.data(), 4, 44100, 16, out.data(), 8), -1);
    EXPECT_EQ(f.process(0, 16, in.data(), 4, 44100, 16, out.data(), 8), -1);
    EXPECT_EQ(f.process(44100, 16, in.data(), 4, -44100, 16, out.data(), 8), -1);
    EXPECT_EQ(f.process(44100, 16, in.data(), -4, 44100, 16, out.data(), 8), -1);
    EXPECT_EQ(f.process(8000, 8, in.data(), 4, INT_MAX, INT_MAX - 7, out.data(), 8), -1);
}

TEST(SimpleUpSamplingFilter, OutputRateZeroYieldsAnEmptyBlock) {
    // m = 0: nothing to write and nothing to check, unless the depths have no
    // conversion.
    SimpleUpSamplingFilter f;
    const Bytes in = pack16({1, 2});
    Bytes out(8, 0xEE);
    EXPECT_EQ(f.process(44100, 16, in.data(), 4, 0, 24, out.data(), 0), 0);
    EXPECT_EQ(f.process(44100, 16, in.data(), 4, 0, 16, out.data(), 8), 0);
    EXPECT_EQ(out, Bytes(8, 0xEE));
    EXPECT_EQ(f.process(44100, 16, in.data(), 4, 0, 32, out.data(), 8), -1);
}

TEST(SimpleUpSamplingFilter, OutputAreaMustHoldTheWholeResult) {
    const Bytes in = pack16({1, 2, 3, 4});
    EXPECT_EQ(resample(44100, 16, in, 88200, 16).result, 16);
    const Outcome tooSmall = resample(44100, 16, in, 88200, 16, -1);
    EXPECT_EQ(tooSmall.result, -1);
    EXPECT_EQ(tooSmall.out, Bytes(15, 0xEE));
    EXPECT_EQ(resample(44100, 16, in, 44100, 16, -1).result, -1);
}

TEST(SimpleUpSamplingFilter, IncompleteTrailingFramesAreCountedButNotWritten) {
    // n = 6, m = 9: four whole frames, the ninth sample's bytes stay untouched.
    const Outcome oddM = resample(44100, 16, pack16({1, 1, 2, 2, 3, 3}), 66150, 16);
    EXPECT_EQ(oddM.result, 18);
    EXPECT_EQ(unpack16(oddM.out), (std::vector<int>{1, 1, 1, 1, 2, 2, 3, 3, -4370}));

    // Seven bytes: three whole samples and a partial one. The second frame
    // lacks its right sample, so only the first frame is written (twice).
    Bytes sevenBytes = pack16({1, 2, 3, 4});
    sevenBytes.pop_back();
    const Outcome oddN = resample(44100, 16, sevenBytes, 88200, 16);
    EXPECT_EQ(oddN.result, 12);
    EXPECT_EQ(unpack16(oddN.out), (std::vector<int>{1, 2, 1, 2, -4370, -4370}));
}

TEST(SimpleUpSamplingFilter, HasNoParametersOrState) {
    SimpleUpSamplingFilter f;
    unsigned char block[32] = {};
    EXPECT_STREQ(f.getName(), "IntSimpleUpSamplingFilter");
    EXPECT_EQ(f.setParamData(0x70414C43, block, 32), 0);
    EXPECT_EQ(f.getParamData(0x70414C43, block, 32), 0);
    EXPECT_EQ(f.setParamData(0x70414C43, nullptr, -1), 0);
    f.reset();
}
