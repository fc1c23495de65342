#include <quorvex/ALCFilter.h>
#include <quorvex/CompositionFilter.h>
#include <quorvex/DebugFilter.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "support/TestFilters.h"

using testing_filters::ProbeFilter;

struct DebugFilterProbe {
    static int counter(const DebugFilter& f) { return f.counter; }
};

TEST(DebugFilter, BehavesExactlyLikeTheBareLevelControl) {
    ALCFilter bare, wrappedAlc;
    DebugFilter debug(&wrappedAlc, 4, true);
    unsigned char block[20], viaDebug[20];
    ASSERT_EQ(bare.getParamData(0x70414C43, block, 20), 20);
    ASSERT_EQ(debug.getParamData(0x70414C43, viaDebug, 20), 20);
    EXPECT_EQ(std::memcmp(block, viaDebug, 20), 0);
    const int perSample = 1;
    std::memcpy(block + 8, &perSample, 4);
    EXPECT_EQ(debug.setParamData(0x70414C43, block, 19), -1);
    EXPECT_EQ(debug.setParamData(0x70414C43, block, 20), 20);
    ASSERT_EQ(bare.setParamData(0x70414C43, block, 20), 20);

    double x[6] = {0.5, 2.0, -4.0, 0.25, 1.0, -1.0};
    RealAudioBuffer in(x, 6, 6, 48000, 24);
    RealAudioBuffer outBare(6, 0, 0), outDebug(6, 0, 0), tooSmall(5, 0, 0);
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(bare.process(&in, &outBare), 0);
        ASSERT_EQ(debug.process(&in, &outDebug), 0);
        ASSERT_EQ(outDebug.length, outBare.length);
        EXPECT_EQ(std::memcmp(outDebug.data, outBare.data, 6 * sizeof(double)), 0);
        EXPECT_EQ(outDebug.sampleRate, 48000);
        EXPECT_EQ(outDebug.bitsPerSample, 24);
    }
    EXPECT_EQ(debug.process(&in, &tooSmall), -1);
}

TEST(DebugFilter, PassesTheInnerResultAndBuffersThrough) {
    ProbeFilter inner;
    inner.failWith = -1;
    DebugFilter debug(&inner, 0, false);
    double x[2] = {0.5, 0.5};
    RealAudioBuffer in(x, 2, 2, 44100, 16), out(2, 44100, 16);
    EXPECT_EQ(debug.process(&in, &out), -1);
    EXPECT_EQ(inner.lastIn, &in);
    EXPECT_EQ(inner.lastOut, &out);
}

// The counter cycles through the interval; a reset reaches the inner filter
// only.
TEST(DebugFilter, CounterCyclesThroughTheInterval) {
    const struct {
        int interval;
        std::vector<int> counts;
    } cases[] = {{3, {1, 2, 3, 1, 2}}, {1, {1, 1, 1}}, {0, {0, 0, 0}}, {-2, {0, 0, 0}}};
    for (const auto& c : cases) {
        ProbeFilter inner;
        DebugFilter debug(&inner, c.interval, false);
        double x[2] = {0.5, -0.5};
        RealAudioBuffer in(x, 2, 2, 44100, 16), out(2, 44100, 16);
        std::vector<int> counts;
        for (size_t i = 0; i < c.counts.size(); ++i) {
            debug.process(&in, &out);
            counts.push_back(DebugFilterProbe::counter(debug));
        }
        EXPECT_EQ(counts, c.counts) << c.interval;
        debug.reset();
        EXPECT_EQ(DebugFilterProbe::counter(debug), counts.back());
        EXPECT_EQ(inner.resetCalls, 1);
    }
}

TEST(DebugFilter, NameIsCutAt198CharactersAndNestsInAChain) {
    ProbeFilter longName(std::string(300, 'n'));
    DebugFilter debug(&longName, 1, false);
    EXPECT_EQ(std::string(debug.getName()), "Debug:[" + std::string(191, 'n'));
    ALCFilter alc;
    ProbeFilter other("EQ");
    DebugFilter wrappedAlc(&alc, 1, false);
    CompositionFilter chain(&wrappedAlc, &other);
    EXPECT_STREQ(chain.getName(), "CF:[Debug:[ALC] -> EQ]");
}
