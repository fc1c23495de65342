#include <quorvex/DataTypeConversionFilter.h>
#include <quorvex/SimpleUpSamplingFilter.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

#include "support/PcmPacking.h"
#include "support/TestFilters.h"

using testutil::pack;
using testutil::ProbeFilter;
using testutil::Samples;
using testutil::unpack;

struct DataTypeConversionFilterProbe {
    static const RealAudioBuffer* inBuffer(const DataTypeConversionFilter& f) { return f.inBuffer; }
    static const RealAudioBuffer* outBuffer(const DataTypeConversionFilter& f) {
        return f.outBuffer;
    }
};

namespace {

using Probe = DataTypeConversionFilterProbe;
using Bytes = std::vector<unsigned char>;

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

// Integers in at equal depths, through a copy or a filter emitting fixed
// doubles: 16 and 32 bits truncate and clamp (NaN gives 0), 24 bits come
// back one step toward zero and wrap instead of clamping.
TEST(DataTypeConversionFilter, ConvertsToAndFromIntegers) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const struct {
        int bits;
        std::vector<double> emit;
        Samples in, out;
    } cases[] = {
        {16, {}, {0, 1, -1, 32767, -32768, 256}, {0, 1, -1, 32767, -32768, 256}},
        {16,
         {1.0, -1.0, -0.9995, 1.5, -1.5, nan, 70000.0, 0.99999},
         Samples(8),
         {32767, -32768, -32751, 32767, -32768, 0, 32767, 32767}},
        {24,
         {},
         {0, 100, -100, 8388607, -8388608, 1, -1, 2},
         {0, 99, -99, 8388606, -8388607, 0, 0, 1}},
        {24, {1.5, 1.0, -1.0, nan}, Samples(4), {12582910 - (1 << 24), 8388607, -8388607, 0}},
        {32, {}, {1, -1, INT32_MAX, INT32_MIN}, {1, -1, INT32_MAX, INT32_MIN}},
        {32,
         {1.0, -1.0, 1.5, -0.5, nan, -1e300},
         Samples(6),
         {INT32_MAX, INT32_MIN, INT32_MAX, -1073741824, 0, INT32_MIN}},
    };
    for (const auto& c : cases) {
        ProbeFilter inner;
        inner.emit = c.emit;
        DataTypeConversionFilter dtc(&inner);
        const Bytes in = pack(c.bits, c.in);
        const int n = static_cast<int>(in.size());
        Bytes out(in.size() + 8, 0xEE);
        EXPECT_EQ(dtc.process(44100, c.bits, in.data(), n, 44100, c.bits, out.data(), n), n);
        EXPECT_EQ(unpack(c.bits, out, n), c.out) << c.bits;
        EXPECT_EQ(out[in.size()], 0xEE);
    }
}

// The buffers start at one double and grow to twice the block that did not fit.
TEST(DataTypeConversionFilter, BuffersGrowToTwiceTheBlockThatDidNotFit) {
    ProbeFilter copy;
    DataTypeConversionFilter dtc(&copy);
    EXPECT_EQ(Probe::inBuffer(dtc)->capacity, 1);
    Bytes in(9000), out(9000);
    for (auto [bytes, capacity] : {std::pair{4096, 4096}, {8192, 4096}, {9000, 9000}}) {
        ASSERT_EQ(dtc.process(44100, 16, in.data(), bytes, 44100, 16, out.data(), bytes), bytes);
        EXPECT_EQ(Probe::inBuffer(dtc)->capacity, capacity);
        EXPECT_EQ(Probe::outBuffer(dtc)->capacity, capacity);
    }
}

// Bad formats, a short output area and chain output that does not fit are
// refused without writing; the chain's rate and depth decide the output
// conversion; parameters and reset are forwarded.
TEST(DataTypeConversionFilter, RefusesWithoutWritingAndFollowsTheChain) {
    ProbeFilter copy;
    DataTypeConversionFilter refusing(&copy);
    const Bytes in = pack(16, {1024, -2048, 4, 6});
    Bytes out(24, 0xEE);
    const int bad[][5] = {{44100, 16, 88200, 16, 15},
                          {44100, 8, 44100, 16, 16},
                          {44100, 16, 44100, 20, 16},
                          {0, 16, 44100, 16, 16},
                          {44100, 16, -44100, 16, 16}};  // rates and depths in and out, room
    for (const auto& b : bad)
        EXPECT_EQ(refusing.process(b[0], b[1], in.data(), 8, b[2], b[3], out.data(), b[4]), -1);
    EXPECT_EQ(copy.processCalls, 0);
    copy.reportBits = 32;
    EXPECT_EQ(refusing.process(44100, 16, in.data(), 8, 44100, 16, out.data(), 15), -1);
    EXPECT_EQ(out, Bytes(24, 0xEE));

    ProbeFilter upsampler;
    upsampler.gain = 0.5;
    upsampler.repeat = 2;
    upsampler.reportRate = 88200;
    upsampler.reportBits = 24;
    upsampler.paramId = 0x70123456;
    upsampler.paramAnswer = 20;
    DataTypeConversionFilter dtc(&upsampler);
    ASSERT_EQ(dtc.process(44100, 16, in.data(), 8, 88200, 24, out.data(), 24), 24);
    EXPECT_EQ(upsampler.lastIn->sampleRate + upsampler.lastIn->bitsPerSample, 44100 + 16);
    // x * 2^-15 * 0.5 * 8388607, truncated: 1024 -> 131071, 4 -> 511.
    EXPECT_EQ(unpack(24, out, 24), (Samples{131071, -262143, 131071, -262143, 511, 767, 511, 767}));
    unsigned char block[20] = {};
    EXPECT_EQ(dtc.setParamData(0x70123456, block, 20), 20);
    dtc.reset();
    EXPECT_EQ(upsampler.resetCalls, 1);
}

// Output frame j is input frame j * inRate / outRate, rounded down; depths
// change by shifting bytes, equal formats are copied whatever the depth, and
// frames that end incomplete are counted but not written (-4370 is 0xEEEE).
TEST(SimpleUpSamplingFilter, MapsFramesAndShiftsBytes) {
    Bytes sevenBytes = pack(16, {1, 2, 3, 4});
    sevenBytes.pop_back();
    const struct {
        int inRate, inBits;
        Bytes in;
        int outRate, outBits, result;
        Bytes out;
    } cases[] = {
        {44100, 16, pack(16, {1, -1, 2, -2, 3, -3}), 88200, 16, 24,
         pack(16, {1, -1, 1, -1, 2, -2, 2, -2, 3, -3, 3, -3})},
        {88200, 16, pack(16, {1, 1, 2, 2, 3, 3, 4, 4}), 44100, 16, 8, pack(16, {1, 1, 3, 3})},
        {44100, 16,
         pack(16, {0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7, 8, 8, 9, 9, 10, 10, 11, 11}),
         48000, 16, 52, pack(16, {0, 0, 0, 0, 1, 1, 2, 2, 3, 3,  4,  4,  5,
                                  5, 6, 6, 7, 7, 8, 8, 9, 9, 10, 10, 11, 11})},
        {48000,
         24,
         {0x56, 0x34, 0x12, 0xFF, 0xFF, 0xFF, 0x00, 0xFF, 0xFF, 0x00, 0x00, 0x80},
         48000,
         16,
         8,
         {0x34, 0x12, 0xFF, 0xFF, 0xFF, 0xFF, 0x00, 0x80}},
        {44100,
         16,
         pack(16, {0x1234, -1}),
         88200,
         24,
         12,
         {0x00, 0x34, 0x12, 0x00, 0xFF, 0xFF, 0x00, 0x34, 0x12, 0x00, 0xFF, 0xFF}},
        {96000, 32, {1, 2, 3, 4, 5, 6, 7, 8, 9}, 96000, 32, 8, {1, 2, 3, 4, 5, 6, 7, 8}},
        {44100, 8, {9, 8, 7}, 44100, 8, 3, {9, 8, 7}},
        {44100, 16, pack(16, {1, 1, 2, 2, 3, 3}), 66150, 16, 18,
         pack(16, {1, 1, 1, 1, 2, 2, 3, 3, -4370})},
        {44100, 16, sevenBytes, 88200, 16, 12, pack(16, {1, 2, 1, 2, -4370, -4370})},
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
    const Bytes in = pack(16, {1, 2, 3, 4});
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
