#include <quorvex/ALCFilter.h>
#include <quorvex/CompositionFilter.h>
#include <quorvex/DebugFilter.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/TestFilters.h"

using testutil::ProbeFilter;

struct CompositionFilterProbe {
    static const RealAudioBuffer* scratchA(const CompositionFilter& cf) { return cf.scratchA; }
    static const RealAudioBuffer* scratchB(const CompositionFilter& cf) { return cf.scratchB; }
};

struct DebugFilterProbe {
    static int counter(const DebugFilter& f) { return f.counter; }
};

using Probe = CompositionFilterProbe;
using Route = std::vector<const RealAudioBuffer*>;

// The first member reads the input, the last writes the output, the ones
// between alternate from scratch A to scratch B; the scratch buffers start
// at one double and grow to the output's capacity only when it exceeds theirs.
TEST(CompositionFilter, MembersWriteAlternatingScratchBuffersGrownToTheOutput) {
    ProbeFilter f0, f1, f2;
    f1.gain = 2.0;
    CompositionFilter two(&f0, &f1);
    EXPECT_EQ(Probe::scratchA(two)->capacity, 1);
    std::vector<double> x = {0.125, -0.25};
    RealAudioBuffer in(x.data(), 2, 2, 44100, 16), out(4096, 44100, 16);
    ASSERT_EQ(two.process(&in, &out), 0);
    EXPECT_EQ((std::vector<double>{out.data[0], out.data[1]}), (std::vector<double>{0.25, -0.5}));
    const RealAudioBuffer* a = Probe::scratchA(two);
    EXPECT_EQ((Route{f0.lastIn, f0.lastOut, f1.lastIn, f1.lastOut}), (Route{&in, a, a, &out}));

    CompositionFilter three(&f0, &f1, &f2);
    ASSERT_EQ(three.process(&in, &out), 0);
    a = Probe::scratchA(three);
    const RealAudioBuffer* b = Probe::scratchB(three);
    EXPECT_EQ((Route{f0.lastIn, f0.lastOut, f1.lastIn, f1.lastOut, f2.lastIn, f2.lastOut}),
              (Route{&in, a, a, b, b, &out}));
    EXPECT_EQ(a->capacity + b->capacity, 2 * 4096);
    RealAudioBuffer bigger(4097, 44100, 16);
    ASSERT_EQ(three.process(&in, &bigger), 0);
    EXPECT_EQ(Probe::scratchA(three)->capacity + Probe::scratchB(three)->capacity, 2 * 4097);
}

// A failing member stops the chain; parameter calls reach every member and
// the last nonzero answer wins; reset reaches every member.
TEST(CompositionFilter, FailureStopsTheChainAndTheLastNonzeroAnswerWins) {
    ProbeFilter a, b, c;
    a.failWith = -1;
    CompositionFilter cf(&a, &b, &c);
    std::vector<double> x(4, 0.5);
    RealAudioBuffer in(x.data(), 4, 4, 44100, 16), out(4, 44100, 16);
    out.length = 3;
    EXPECT_EQ(cf.process(&in, &out), -1);
    EXPECT_EQ(out.length, 3);
    EXPECT_EQ(b.processCalls + c.processCalls, 0);

    for (ProbeFilter* f : {&a, &b, &c}) f->paramId = 0x70515151;
    a.paramAnswer = 7;
    b.paramAnswer = -1;
    unsigned char block[4] = {};
    EXPECT_EQ(cf.setParamData(0x70515151, block, 4), -1);
    a.paramAnswer = -1;
    b.paramAnswer = 7;
    EXPECT_EQ(cf.getParamData(0x70515151, block, 4), 7);
    EXPECT_EQ(c.paramCalls, 2);
    cf.reset();
    EXPECT_EQ(a.resetCalls + b.resetCalls + c.resetCalls, 3);
}

// A host buffer claiming more valid doubles than it holds is refused before
// anything is copied: no copy, and a composition that would grow its scratch
// buffers from such an output runs no member and leaves the output as it was.
TEST(CompositionFilter, OutputLongerThanItsCapacityIsRefusedUntouched) {
    double host[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    RealAudioBuffer overlong(host, 4, 6, 44100, 16);
    EXPECT_EQ(overlong.copyBuffer(), nullptr);

    ProbeFilter a, b;
    CompositionFilter cf(&a, &b);
    std::vector<double> x = {0.5, -0.5};
    RealAudioBuffer in(x.data(), 2, 2, 44100, 16);
    EXPECT_EQ(cf.process(&in, &overlong), -1);
    EXPECT_EQ(a.processCalls + b.processCalls, 0);
    EXPECT_EQ(overlong.length, 6);
    EXPECT_EQ(std::vector<double>(host, host + 8), (std::vector<double>{1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(Probe::scratchA(cf)->capacity, 1);

    RealAudioBuffer exact(host, 6, 6, 44100, 16);
    EXPECT_EQ(cf.process(&in, &exact), 0);
}

// Names join in argument order and nest; the working text is cut at 4078
// before the prefix goes on, so the closing bracket goes first.
TEST(CompositionFilterName, JoinsInOrderAndIsCutAt4078) {
    ALCFilter alc;
    ProbeFilter p[10];
    for (int i = 0; i < 10; ++i) p[i].label = std::to_string(i);
    CompositionFilter inner(&p[0], &p[1]), outer(&alc, &inner);
    EXPECT_STREQ(outer.getName(), "CF:[ALC -> CF:[0 -> 1]]");
    CompositionFilter ten(&p[0], &p[1], &p[2], &p[3], &p[4], &p[5], &p[6], &p[7], &p[8], &p[9]);
    EXPECT_STREQ(ten.getName(), "CF:[0 -> 1 -> 2 -> 3 -> 4 -> 5 -> 6 -> 7 -> 8 -> 9]");

    ProbeFilter a(std::string(3000, 'a')), b(std::string(3000, 'b'));
    CompositionFilter cut(&a, &b);
    EXPECT_EQ(std::string(cut.getName()),
              "CF:[" + std::string(3000, 'a') + " -> " + std::string(1070, 'b'));
    ProbeFilter longer(std::string(4069, 'x')), tiny("y");
    CompositionFilter full(&longer, &tiny);  // 4 + 4069 + 4 + 1 = 4078
    EXPECT_EQ(std::string(full.getName()), "CF:[" + std::string(4069, 'x') + " -> y");
}

// The counter cycles through the interval (not at all below one), a reset
// reaches the inner filter only; the name is cut at 198 characters.
TEST(DebugFilter, CounterCyclesAndNameIsCut) {
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
            EXPECT_EQ(debug.process(&in, &out), 0);
            counts.push_back(DebugFilterProbe::counter(debug));
        }
        EXPECT_EQ(counts, c.counts) << c.interval;
        debug.reset();
        EXPECT_EQ(DebugFilterProbe::counter(debug), counts.back());
        EXPECT_EQ(inner.resetCalls, 1);
    }
    ProbeFilter longName(std::string(300, 'n'));
    DebugFilter debug(&longName, 1, false);
    EXPECT_EQ(std::string(debug.getName()), "Debug:[" + std::string(191, 'n'));
}
