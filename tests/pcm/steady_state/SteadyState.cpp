// A chain driven through the integer adapter allocates only on the block that
// makes its buffers grow; a growth that fails refuses the block and keeps the
// buffers it had. The clean converter allocates only when it is set up.
#include <quorvex/ALCFilter.h>
#include <quorvex/CleanResampler.h>
#include <quorvex/CompositionFilter.h>
#include <quorvex/DataTypeConversionFilter.h>
#include <quorvex/DebugFilter.h>
#include <quorvex/EqualizerFilter.h>
#include <quorvex/PersonalizeFilter.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "AllocationCounter.h"

namespace {

std::vector<unsigned char> pcm16(int frames) {
    std::vector<unsigned char> bytes(static_cast<size_t>(frames) * 4);
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<unsigned char>(i * 37);
    return bytes;
}

}  // namespace

TEST(SteadyState, EqualBlocksThroughAChainAllocateOnlyOnTheFirst) {
    ALCFilter alc, innerAlc;
    EqualizerFilter eq;
    PersonalizeFilter personalizer;
    CompositionFilter inner(&innerAlc, &personalizer);
    DebugFilter debugEq(&eq, 16, false);
    CompositionFilter chain(&alc, &debugEq, &inner);
    DataTypeConversionFilter dtc(&chain);
    const std::vector<unsigned char> in = pcm16(1024);
    const int n = static_cast<int>(in.size());
    std::vector<unsigned char> out(in.size());
    std::vector<long> counts(500);
    for (long& c : counts) {
        const long before = allocationCount();
        ASSERT_EQ(dtc.process(44100, 16, in.data(), n, 44100, 16, out.data(), n), n);
        c = allocationCount() - before;
    }
    EXPECT_GT(counts[0], 0);  // the counter sees the growth, so the zeros mean something
    EXPECT_EQ(std::count(counts.begin() + 1, counts.end(), 0L), 499);
}

TEST(SteadyState, TheCleanConverterAllocatesOnlyWhenSetUp) {
    quorvex::CleanResampler clean(44100, 48000, 16);
    DataTypeConversionFilter dtc(&clean);
    const std::vector<unsigned char> in = pcm16(1024);
    std::vector<unsigned char> out(2 * in.size());
    long produced = 0;
    std::vector<long> counts(200);
    for (long& c : counts) {
        const long before = allocationCount();
        const int n = dtc.process(44100, 16, in.data(), static_cast<int>(in.size()), 48000, 16,
                                  out.data(), static_cast<int>(out.size()));
        c = allocationCount() - before;
        produced += n / 4;
    }
    EXPECT_EQ(produced, 200L * 1024 * 48000 / 44100);
    EXPECT_EQ(std::count(counts.begin() + 1, counts.end(), 0L), 199);
}

TEST(OutOfMemory, FailedGrowthRefusesTheBlockAndKeepsTheBuffers) {
    ALCFilter alc;
    EqualizerFilter eq;
    CompositionFilter chain(&alc, &eq);
    DataTypeConversionFilter dtc(&chain);
    const std::vector<unsigned char> in = pcm16(256);
    const int n = static_cast<int>(in.size());
    std::vector<unsigned char> out(in.size(), 0xEE), afterFailure(in.size());
    auto run = [&](int bytes) {
        return dtc.process(44100, 16, in.data(), bytes, 44100, 16, out.data(), n);
    };
    ASSERT_EQ(run(n / 4), n / 4);
    const std::vector<unsigned char> before = out;
    setAllocationsFail(true);
    const int larger = run(n);  // beyond twice the last growth
    std::copy(out.begin(), out.end(), afterFailure.begin());
    const int smaller = run(n / 8);
    setAllocationsFail(false);
    EXPECT_EQ(larger, -1);
    EXPECT_EQ(afterFailure, before);
    EXPECT_EQ(smaller, n / 8);
}
