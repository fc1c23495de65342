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

// Runs one block into an output area of exactly the result's size (plus
// `extra`), marked with 0xEE so that unwritten bytes show; the input is an
// exact-size heap copy so that ASan catches reads past it.
std::pair<int, Bytes> resample(int inRate, int inBits, const Bytes& in, int outRate, int outBits,
                               int extra = 0) {
    SimpleUpSamplingFilter f;
    const int64_t n = static_cast<int64_t>(in.size()) / (inBits / 8);
    Bytes out(static_cast<size_t>(outBits / 8 * (n * outRate / inRate) + extra), 0xEE);
    std::unique_ptr<unsigned char[]> exactIn(new unsigned char[in.size()]);
    std::copy(in.begin(), in.end(), exactIn.get());
    const int r = f.process(inRate, inBits, exactIn.get(), static_cast<int>(in.size()), outRate,
                            outBits, out.data(), static_cast<int>(out.size()));
    return {r, out};
}

}  // namespace

// Output frame j is input frame j * inRate / outRate, rounded down; depths
// change by shifting bytes, equal formats are copied whatever the depth, and
// frames that end incomplete are counted but not written (-4370 is 0xEEEE).
TEST(SimpleUpSamplingFilter, MapsFramesAndShiftsBytes) {
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
        {44100, 16, pack16({0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7, 8, 8, 9, 9, 10, 10,
                            11, 11}),
         48000, 16, 52,
         pack16({0, 0, 0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7, 8, 8, 9, 9, 10, 10, 11,
                 11})},
        {48000, 24, {0x56, 0x34, 0x12, 0xFF, 0xFF, 0xFF, 0x00, 0xFF, 0xFF, 0x00, 0x00, 0x80},
         48000, 16, 8, {0x34, 0x12, 0xFF, 0xFF, 0xFF, 0xFF, 0x00, 0x80}},
        {44100, 16, pack16({0x1234, -1}), 88200, 24, 12,
         {0x00, 0x34, 0x12, 0x00, 0xFF, 0xFF, 0x00, 0x34, 0x12, 0x00, 0xFF, 0xFF}},
        {96000, 32, {1, 2, 3, 4, 5, 6, 7, 8, 9}, 96000, 32, 8, {1, 2, 3, 4, 5, 6, 7, 8}},
        {44100, 8, {9, 8, 7}, 44100, 8, 3, {9, 8, 7}},
        {44100, 16, pack16({1, 1, 2, 2, 3, 3}), 66150, 16, 18,
         pack16({1, 1, 1, 1, 2, 2, 3, 3, -4370})},
        {44100, 16, sevenBytes, 88200, 16, 12, pack16({1, 2, 1, 2, -4370, -4370})},
    };
    for (const auto& c : cases) {
        const auto [result, out] = resample(c.inRate, c.inBits, c.in, c.outRate, c.outBits);
        EXPECT_EQ(result, c.result) << c.inRate << " " << c.outRate << " " << c.outBits;
        EXPECT_EQ(out, c.out) << c.inRate << " " << c.outRate << " " << c.outBits;
    }
}

// Depth changes other than 16 <-> 24, rate changes at 32 bits, a short output
// area and sizes that overflow are refused without writing.
TEST(SimpleUpSamplingFilter, RefusesWithoutWriting) {
    const Bytes in = pack16({1, 2, 3, 4});
    for (const auto& [result, out] :
         {resample(44100, 16, in, 44100, 32), resample(44100, 32, Bytes(8), 88200, 32),
          resample(44100, 16, in, 88200, 16, -1), resample(44100, 16, in, 44100, 16, -1)}) {
        EXPECT_EQ(result, -1);
        EXPECT_EQ(out, Bytes(out.size(), 0xEE));
    }
    SimpleUpSamplingFilter f;
    Bytes out(8, 0xEE);
    EXPECT_EQ(f.process(8000, 8, in.data(), 4, INT_MAX, INT_MAX - 7, out.data(), 8), -1);
    EXPECT_EQ(out, Bytes(8, 0xEE));
}
