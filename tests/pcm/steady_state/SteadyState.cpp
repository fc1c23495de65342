// Proves that a chain driven through the integer adapter allocates only on
// the block that makes its buffers grow: the allocation count is read around
// every process call of a long stream of equal blocks. Also checks that the
// wrappers survive running out of memory.
#include <quorvex/AFUtil.h>
#include <quorvex/ALCFilter.h>
#include <quorvex/CompositionFilter.h>
#include <quorvex/DataTypeConversionFilter.h>
#include <quorvex/DebugFilter.h>
#include <quorvex/RealAudioBuffer.h>

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "AllocationCounter.h"

namespace {

// Test filters that allocate nothing themselves.
class PlainFilter : public RealAudioFilter {
public:
    int setParamData(unsigned long, const void*, int) override { return 0; }
    int getParamData(unsigned long, void*, int) override { return 0; }
    void reset() override {}
};

class HalfGainFilter : public PlainFilter {
public:
    const char* getName() override { return "HalfGain"; }
    int process(const RealAudioBuffer* in, RealAudioBuffer* out) override {
        if (in->length > out->capacity) return -1;
        for (int i = 0; i < in->length; ++i) out->data[i] = in->data[i] * 0.5;
        out->length = in->length;
        out->sampleRate = in->sampleRate;
        out->bitsPerSample = in->bitsPerSample;
        return 0;
    }
};

// Holds every frame twice and reports twice the rate at 24 bits, as an
// up-sampler does.
class FrameDoublerFilter : public PlainFilter {
public:
    const char* getName() override { return "FrameDoubler"; }
    int process(const RealAudioBuffer* in, RealAudioBuffer* out) override {
        const int frames = in->length / 2;
        if (4 * frames > out->capacity) return -1;
        for (int f = 0; f < 4 * frames; ++f) out->data[f] = in->data[2 * (f / 4) + f % 2];
        out->length = 4 * frames;
        out->sampleRate = 2 * in->sampleRate;
        out->bitsPerSample = 24;
        return 0;
    }
};

std::vector<unsigned char> loudPcm16(int frames) {
    std::vector<unsigned char> bytes(static_cast<size_t>(frames) * 4);
    for (int i = 0; i < 2 * frames; ++i) {
        const int v = static_cast<int>(40000.0 * std::sin(0.01 * i));  // over full scale
        const int s = v > 32767 ? 32767 : (v < -32768 ? -32768 : v);
        bytes[2 * static_cast<size_t>(i)] = static_cast<unsigned char>(s & 0xFF);
        bytes[2 * static_cast<size_t>(i) + 1] = static_cast<unsigned char>((s >> 8) & 0xFF);
    }
    return bytes;
}

// Allocations made by each of `blocks` calls of `step`.
template <typename Step>
std::vector<long> allocationsPerBlock(int blocks, Step step) {
    std::vector<long> counts(static_cast<size_t>(blocks));  // made before counting starts
    for (long& c : counts) {
        const long before = allocationCount();
        step();
        c = allocationCount() - before;
    }
    return counts;
}

void expectOnlyFirstBlockAllocated(const std::vector<long>& counts) {
    ASSERT_FALSE(counts.empty());
    EXPECT_GT(counts[0], 0);  // the counter sees the growth, so zeros below mean something
    long later = 0;
    for (size_t i = 1; i < counts.size(); ++i) later += counts[i];
    EXPECT_EQ(later, 0);
}

}  // namespace

TEST(AllocationCounter, SeesEveryKindOfAllocation) {
    // Each pointer escapes through a volatile so no allocation can be elided.
    void* volatile escaped = nullptr;
    long before = allocationCount();
    escaped = AFMalloc(64);
    EXPECT_EQ(allocationCount() - before, 1);
    AFFree(escaped);

    before = allocationCount();
    escaped = new int(3);
    EXPECT_EQ(allocationCount() - before, 1);
    delete static_cast<int*>(escaped);

    before = allocationCount();
    escaped = new RealAudioBuffer(16, 44100, 16);
    EXPECT_EQ(allocationCount() - before, 2);  // the object and its array
    delete static_cast<RealAudioBuffer*>(escaped);
}

TEST(SteadyState, EqualBlocksThroughAChainAllocateOnlyOnTheFirst) {
    ALCFilter alc, innerAlc;
    HalfGainFilter half, innerHalf;
    CompositionFilter inner(&innerAlc, &innerHalf);
    DebugFilter debugHalf(&half, 16, false);
    CompositionFilter chain(&alc, &debugHalf, &inner);
    DataTypeConversionFilter dtc(&chain);

    constexpr int kFrames = 1024;
    const std::vector<unsigned char> in = loudPcm16(kFrames);
    std::vector<unsigned char> out(in.size());
    const int bytes = static_cast<int>(in.size());
    const std::vector<long> counts = allocationsPerBlock(500, [&] {
        ASSERT_EQ(dtc.process(44100, 16, in.data(), bytes, 44100, 16, out.data(), bytes), bytes);
    });
    expectOnlyFirstBlockAllocated(counts);

    // A block beyond twice the first grows the buffers once more; smaller ones
    // then fit.
    std::vector<unsigned char> bigIn = loudPcm16(3 * kFrames);
    std::vector<unsigned char> bigOut(bigIn.size());
    const int bigBytes = static_cast<int>(bigIn.size());
    const std::vector<long> mixed = allocationsPerBlock(100, [&, i = 0]() mutable {
        const int n = i++ == 0 ? bigBytes : bytes - 4 * (i % 7);
        ASSERT_EQ(dtc.process(44100, 16, bigIn.data(), n, 44100, 16, bigOut.data(), n), n);
    });
    expectOnlyFirstBlockAllocated(mixed);
}

TEST(SteadyState, RateDoublingChainAllocatesOnlyOnTheFirstBlock) {
    ALCFilter alc;
    FrameDoublerFilter doubler;
    CompositionFilter chain(&alc, &doubler);
    DataTypeConversionFilter dtc(&chain);

    constexpr int kFrames = 441;
    const std::vector<unsigned char> in = loudPcm16(kFrames);
    std::vector<unsigned char> out(static_cast<size_t>(kFrames) * 2 * 2 * 3);
    const int outBytes = static_cast<int>(out.size());
    const std::vector<long> counts = allocationsPerBlock(300, [&] {
        ASSERT_EQ(dtc.process(44100, 16, in.data(), static_cast<int>(in.size()), 88200, 24,
                              out.data(), outBytes),
                  outBytes);
    });
    expectOnlyFirstBlockAllocated(counts);
}

TEST(OutOfMemory, WrappersFailTheBlockAndKeepTheirBuffers) {
    ALCFilter alc;
    HalfGainFilter half;
    setAllocationsFail(true);
    CompositionFilter chain(&alc, &half);  // no placeholders can be made
    DataTypeConversionFilter dtc(&chain);
    setAllocationsFail(false);

    const std::vector<unsigned char> in = loudPcm16(256);
    const int bytes = static_cast<int>(in.size());
    std::vector<unsigned char> out(in.size(), 0xEE);
    auto run = [&](int n) {
        return dtc.process(44100, 16, in.data(), n, 44100, 16, out.data(), bytes);
    };
    setAllocationsFail(true);
    const int withoutMemory = run(bytes);
    setAllocationsFail(false);
    EXPECT_EQ(withoutMemory, -1);
    EXPECT_EQ(out, std::vector<unsigned char>(in.size(), 0xEE));
    EXPECT_EQ(run(bytes / 4), bytes / 4);  // memory is back: the buffers grow

    setAllocationsFail(true);
    const int larger = run(bytes);  // beyond twice the last growth
    const int smaller = run(bytes / 8);
    setAllocationsFail(false);
    EXPECT_EQ(larger, -1);
    EXPECT_EQ(smaller, bytes / 8);

    // The composition on its own: an output larger than its scratch buffers.
    std::vector<double> x(8, 0.5);
    RealAudioBuffer blockIn(x.data(), 8, 8, 44100, 16);
    RealAudioBuffer bigOut(4096, 44100, 16);
    bigOut.length = 3;
    setAllocationsFail(true);
    const int grown = chain.process(&blockIn, &bigOut);
    setAllocationsFail(false);
    EXPECT_EQ(grown, -1);
    EXPECT_EQ(bigOut.length, 3);
    EXPECT_EQ(chain.process(&blockIn, &bigOut), 0);
    EXPECT_EQ(bigOut.length, 8);
}
