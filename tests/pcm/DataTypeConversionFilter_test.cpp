#include <quorvex/ALCFilter.h>
#include <quorvex/CompositionFilter.h>
#include <quorvex/DataTypeConversionFilter.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "pcm/PcmSamples.h"
#include "support/TestFilters.h"

using testing_filters::ProbeFilter;

struct DataTypeConversionFilterProbe {
    static const RealAudioBuffer* inBuffer(const DataTypeConversionFilter& f) {
        return f.inBuffer;
    }
    static const RealAudioBuffer* outBuffer(const DataTypeConversionFilter& f) {
        return f.outBuffer;
    }
};

namespace {

using Probe = DataTypeConversionFilterProbe;
using Bytes = std::vector<unsigned char>;

Bytes pack(int bits, const std::vector<int64_t>& samples) {
    Bytes b(samples.size() * static_cast<size_t>(bits / 8));
    for (size_t i = 0; i < samples.size(); ++i) {
        unsigned char* p = b.data() + i * static_cast<size_t>(bits / 8);
        if (bits == 16) pcm::write16(p, samples[i]);
        if (bits == 24) pcm::write24(p, samples[i]);
        if (bits == 32) pcm::write32(p, samples[i]);
    }
    return b;
}

std::vector<int64_t> unpack(int bits, const Bytes& b, int bytes) {
    std::vector<int64_t> v;
    for (int at = 0; at + bits / 8 <= bytes; at += bits / 8) {
        const unsigned char* p = b.data() + at;
        v.push_back(bits == 16 ? pcm::read16(p) : bits == 24 ? pcm::read24(p) : pcm::read32(p));
    }
    return v;
}

// Runs one block at 44100 Hz with equal depths in and out; returns the
// samples written.
std::vector<int64_t> roundTrip(RealAudioFilter& wrapped, int bits,
                               const std::vector<int64_t>& samples) {
    DataTypeConversionFilter dtc(&wrapped);
    const Bytes in = pack(bits, samples);
    Bytes out(in.size() + 8, 0xEE);
    const int written = dtc.process(44100, bits, in.data(), static_cast<int>(in.size()), 44100,
                                    bits, out.data(), static_cast<int>(in.size()));
    EXPECT_EQ(written, static_cast<int>(in.size()));
    EXPECT_EQ(out[in.size()], 0xEE);
    return unpack(bits, out, written);
}

// Converts the given doubles to `bits`-bit PCM through a filter that emits them.
std::vector<int64_t> emitted(int bits, const std::vector<double>& y) {
    ProbeFilter source;
    source.emit = y;
    const std::vector<int64_t> zeros(y.size(), 0);
    return roundTrip(source, bits, zeros);
}

}  // namespace

// 16 and 32 bits come back unchanged, 24 bits one step toward zero.
TEST(DataTypeConversionFilter, RoundTripThroughACopy) {
    ProbeFilter copy;
    const std::vector<int64_t> s16 = {0, 1, -1, 12345, -12345, 32767, -32768, 256};
    EXPECT_EQ(roundTrip(copy, 16, s16), s16);
    const std::vector<int64_t> s32 = {0, 1, -1, 123456789, -987654321, INT32_MAX, INT32_MIN, 65536};
    EXPECT_EQ(roundTrip(copy, 32, s32), s32);
    EXPECT_EQ(roundTrip(copy, 24, {0, 100, -100, 8388607, -8388608, 1, -1, 2}),
              (std::vector<int64_t>{0, 99, -99, 8388606, -8388607, 0, 0, 1}));
}

TEST(DataTypeConversionFilter, InputScalesAreExactPowersOfTwo) {
    ProbeFilter copy;
    DataTypeConversionFilter dtc(&copy);
    for (int bits : {16, 24, 32}) {
        const Bytes in = pack(bits, {-(int64_t{1} << (bits - 1)), 1});
        Bytes out(in.size());
        ASSERT_GE(dtc.process(48000, bits, in.data(), static_cast<int>(in.size()), 48000, bits,
                              out.data(), static_cast<int>(out.size())),
                  0);
        EXPECT_EQ(copy.lastIn->data[0], -1.0);
        EXPECT_EQ(copy.lastIn->data[1], std::ldexp(1.0, 1 - bits));
    }
}

// 16 and 32 bits truncate and clamp (NaN gives 0); 24 bits are scaled by
// 8388607 and wrap instead of clamping.
TEST(DataTypeConversionFilter, OutputTruncatesAndClamps) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    EXPECT_EQ(emitted(16, {1.0, -1.0, -0.9995, 1.5, -1.5, 0.99999, 1e300, -inf, nan, 70000.0}),
              (std::vector<int64_t>{32767, -32768, -32751, 32767, -32768, 32767, 32767, -32768, 0,
                                    32767}));
    EXPECT_EQ(emitted(32, {1.0, -1.0, 1.5, -1.5, -0.5, 1e300, -inf, nan, -70000.0}),
              (std::vector<int64_t>{INT32_MAX, INT32_MIN, INT32_MAX, INT32_MIN, -1073741824,
                                    INT32_MAX, INT32_MIN, 0, INT32_MIN}));
    EXPECT_EQ(emitted(24, {1.5, 1.0, -1.0, nan}),
              (std::vector<int64_t>{12582910 - (1 << 24), 8388607, -8388607, 0}));
}

TEST(DataTypeConversionFilter, BuffersGrowToTwiceTheBlockThatDidNotFit) {
    ProbeFilter copy;
    DataTypeConversionFilter dtc(&copy);
    EXPECT_EQ(Probe::inBuffer(dtc)->capacity, 1);
    EXPECT_EQ(Probe::inBuffer(dtc)->sampleRate, 0);
    Bytes in(9000), out(9000);
    auto run = [&](int bytes) {
        return dtc.process(44100, 16, in.data(), bytes, 44100, 16, out.data(), bytes);
    };
    ASSERT_EQ(run(4096), 4096);
    const RealAudioBuffer* first = Probe::inBuffer(dtc);
    EXPECT_EQ(first->capacity, 4096);
    EXPECT_EQ(Probe::outBuffer(dtc)->capacity, 4096);
    EXPECT_EQ(first->channels, 2);
    ASSERT_EQ(run(8192), 8192);
    EXPECT_EQ(Probe::inBuffer(dtc), first);
    ASSERT_EQ(run(9000), 9000);
    EXPECT_EQ(Probe::inBuffer(dtc)->capacity, 9000);
    EXPECT_EQ(Probe::outBuffer(dtc)->capacity, 9000);
}

TEST(DataTypeConversionFilter, RejectsBadFormatsAndShortOutputWithoutWriting) {
    ProbeFilter copy;
    DataTypeConversionFilter dtc(&copy);
    const Bytes in = pack(16, {1, 2, 3, 4});
    Bytes out(16, 0xEE);
    auto run = [&](int inRate, int inBits, int outRate, int outBits, int capacity) {
        return dtc.process(inRate, inBits, in.data(), 8, outRate, outBits, out.data(), capacity);
    };
    EXPECT_EQ(run(44100, 16, 88200, 16, 15), -1);  // 8 samples need 16 bytes
    EXPECT_EQ(run(44100, 16, 44100, 24, 11), -1);
    EXPECT_EQ(run(44100, 8, 44100, 16, 16), -1);
    EXPECT_EQ(run(44100, 16, 44100, 20, 16), -1);
    EXPECT_EQ(run(0, 16, 44100, 16, 16), -1);
    EXPECT_EQ(run(44100, 16, -44100, 16, 16), -1);
    EXPECT_EQ(dtc.process(44100, 16, in.data(), -2, 44100, 16, out.data(), 16), -1);
    EXPECT_EQ(copy.processCalls, 0);
    EXPECT_EQ(Probe::inBuffer(dtc)->capacity, 1);
    EXPECT_EQ(out, Bytes(16, 0xEE));
    // A block shorter than one sample runs empty.
    EXPECT_EQ(dtc.process(44100, 32, in.data(), 3, 44100, 32, out.data(), 4), 0);
    EXPECT_EQ(copy.processCalls, 1);
    EXPECT_EQ(copy.seenInLength, 0);
}

// Chain output that does not fit the host's area is refused; a failing
// chain yields an empty block. Neither writes.
TEST(DataTypeConversionFilter, UnfitOrFailedChainOutputIsNotWritten) {
    ProbeFilter inner;
    DataTypeConversionFilter dtc(&inner);
    const Bytes in = pack(16, {1, 2});
    Bytes out(7, 0xEE);
    for (int bits : {32, 12}) {
        inner.reportBits = bits;  // more bytes than the host made room for
        EXPECT_EQ(dtc.process(44100, 16, in.data(), 4, 44100, 16, out.data(), 7), -1);
    }
    inner.reportBits = 0;
    inner.failWith = -1;
    EXPECT_EQ(dtc.process(44100, 16, in.data(), 4, 44100, 16, out.data(), 4), 0);
    EXPECT_EQ(inner.seenOutLength, 0);
    EXPECT_EQ(out, Bytes(7, 0xEE));
}

TEST(DataTypeConversionFilter, ConvertsAtTheRateAndDepthTheChainProduces) {
    ProbeFilter gain, upsampler;
    gain.gain = 0.5;
    upsampler.repeat = 2;
    upsampler.reportRate = 88200;
    upsampler.reportBits = 24;
    CompositionFilter chain(&gain, &upsampler);
    DataTypeConversionFilter dtc(&chain);
    const Bytes in = pack(16, {1024, -2048, 4, 6});
    Bytes out(24);
    ASSERT_EQ(dtc.process(44100, 16, in.data(), 8, 88200, 24, out.data(), 24), 24);
    EXPECT_EQ(gain.lastIn->sampleRate, 44100);
    EXPECT_EQ(gain.lastIn->bitsPerSample, 16);
    EXPECT_EQ(upsampler.seenOutRate, 88200);
    EXPECT_EQ(upsampler.seenOutBits, 24);
    // x * 2^-15 * 0.5 * 8388607, truncated: 1024 -> 131071, 4 -> 511.
    EXPECT_EQ(unpack(24, out, 24),
              (std::vector<int64_t>{131071, -262143, 131071, -262143, 511, 767, 511, 767}));
}

TEST(DataTypeConversionFilter, ForwardsParametersAndReset) {
    ALCFilter alc;
    ProbeFilter other;
    CompositionFilter chain(&other, &alc);
    DataTypeConversionFilter dtc(&chain);
    EXPECT_STREQ(dtc.getName(), "IntDataTypeConversionFilter");
    unsigned char block[20];
    EXPECT_EQ(dtc.getParamData(0x70414C43, block, 20), 20);
    EXPECT_EQ(dtc.setParamData(0x70414C43, block, 19), -1);
    EXPECT_EQ(dtc.setParamData(0x70414C43, block, 20), 20);
    EXPECT_EQ(dtc.setParamData(0x70123456, block, 20), 0);
    dtc.reset();
    EXPECT_EQ(other.resetCalls, 1);
}
