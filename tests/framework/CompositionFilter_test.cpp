#include <quorvex/ALCFilter.h>
#include <quorvex/CompositionFilter.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "support/TestFilters.h"

using testing_filters::ProbeFilter;

struct CompositionFilterProbe {
    static const RealAudioBuffer* scratchA(const CompositionFilter& cf) { return cf.scratchA; }
    static const RealAudioBuffer* scratchB(const CompositionFilter& cf) { return cf.scratchB; }
};

namespace {

using Probe = CompositionFilterProbe;

// A host block: a view over `samples` plus an owned output of `capacity`.
struct Block {
    std::vector<double> samples;
    RealAudioBuffer in;
    RealAudioBuffer out;
    Block(std::vector<double> x, int capacity)
        : samples(std::move(x)),
          in(samples.data(), static_cast<int>(samples.size()), static_cast<int>(samples.size()),
             44100, 16),
          out(capacity, 44100, 16) {}
};

}  // namespace

TEST(CompositionFilter, StartsWithOneDoublePlaceholders) {
    ProbeFilter a, b;
    CompositionFilter cf(&a, &b);
    for (const RealAudioBuffer* s : {Probe::scratchA(cf), Probe::scratchB(cf)}) {
        EXPECT_TRUE(s->ownsData && s->data != nullptr);
        EXPECT_EQ((std::vector<int>{s->capacity, s->length, s->channels, s->sampleRate,
                                    s->bitsPerSample}),
                  (std::vector<int>{1, 0, 2, 44100, 16}));
    }
    EXPECT_NE(Probe::scratchA(cf), Probe::scratchB(cf));
}

// The first member reads the input, the last writes the output, and the ones
// between alternate from scratch A to scratch B.
TEST(CompositionFilter, MembersChainThroughAlternatingScratchBuffers) {
    ProbeFilter f0, f1, f2, f3;
    f0.gain = f1.gain = 2.0;
    CompositionFilter two(&f0, &f1);
    Block blk({0.125, -0.25, 0.0625, 0.01}, 8);
    ASSERT_EQ(two.process(&blk.in, &blk.out), 0);
    EXPECT_EQ(std::vector<double>(blk.out.data, blk.out.data + blk.out.length),
              (std::vector<double>{0.5, -1.0, 0.25, 0.04}));
    EXPECT_EQ(f0.lastIn, &blk.in);
    EXPECT_EQ(f0.lastOut, Probe::scratchA(two));
    EXPECT_EQ(f1.lastIn, Probe::scratchA(two));
    EXPECT_EQ(f1.lastOut, &blk.out);

    CompositionFilter four(&f0, &f1, &f2, &f3);
    ASSERT_EQ(four.process(&blk.in, &blk.out), 0);
    const RealAudioBuffer* a = Probe::scratchA(four);
    const RealAudioBuffer* b = Probe::scratchB(four);
    EXPECT_EQ(f0.lastOut, a);
    EXPECT_EQ(f1.lastIn, a);
    EXPECT_EQ(f1.lastOut, b);
    EXPECT_EQ(f2.lastIn, b);
    EXPECT_EQ(f2.lastOut, a);
    EXPECT_EQ(f3.lastIn, a);
    EXPECT_EQ(f3.lastOut, &blk.out);
}

TEST(CompositionFilter, PreparesEveryTargetWithTheOutputFormat) {
    ProbeFilter a, b;
    a.reportRate = 96000;  // a converter in front must not change what b's target gets
    a.reportBits = 32;
    CompositionFilter cf(&a, &b);
    std::vector<double> x(6, 0.25);
    RealAudioBuffer in(x.data(), 6, 6, 48000, 24);
    in.channels = 1;
    RealAudioBuffer out(16, 88200, 16);
    out.length = 9;
    ASSERT_EQ(cf.process(&in, &out), 0);
    for (const ProbeFilter* f : {&a, &b}) {
        EXPECT_EQ(f->seenOutLength, 0);
        EXPECT_EQ(f->seenOutRate, 88200);
        EXPECT_EQ(f->seenOutBits, 16);
    }
    EXPECT_EQ(a.seenOutChannels, 1);  // copied from the input into the scratch buffers
    EXPECT_EQ(Probe::scratchB(cf)->channels, 1);
    EXPECT_EQ(out.channels, 2);       // the output's is the caller's
}

TEST(CompositionFilter, FailingOrOverflowingMemberStopsTheChain) {
    ProbeFilter a, b, c;
    a.failWith = -1;
    CompositionFilter cf(&a, &b, &c);
    Block blk({0.5, 0.5, 0.5, 0.5}, 4);
    blk.out.length = 3;
    EXPECT_EQ(cf.process(&blk.in, &blk.out), -1);
    EXPECT_EQ(blk.out.length, 3);
    EXPECT_EQ(b.processCalls, 0);

    a.failWith = 0;
    c.failWith = -1;
    EXPECT_EQ(cf.process(&blk.in, &blk.out), -1);
    EXPECT_EQ(b.processCalls, 1);
    EXPECT_EQ(blk.out.length, 0);  // the last member's target was prepared

    ProbeFilter up, down;
    up.repeat = 2;  // needs more room than the output has
    CompositionFilter grows(&up, &down);
    EXPECT_EQ(grows.process(&blk.in, &blk.out), -1);
    EXPECT_EQ(down.processCalls, 0);
}

TEST(CompositionFilter, ScratchBuffersGrowToTheOutputCapacityOnly) {
    ProbeFilter a, b, c;
    CompositionFilter cf(&a, &b, &c);
    std::vector<double> x(8, 0.25);
    RealAudioBuffer in(x.data(), 8, 8, 44100, 16);
    RealAudioBuffer big(4096, 44100, 16), smaller(2048, 44100, 16), bigger(4097, 44100, 16);
    ASSERT_EQ(cf.process(&in, &big), 0);
    const RealAudioBuffer* grownA = Probe::scratchA(cf);
    const RealAudioBuffer* grownB = Probe::scratchB(cf);
    EXPECT_EQ(grownA->capacity, 4096);
    EXPECT_EQ(grownB->capacity, 4096);
    EXPECT_TRUE(grownA->ownsData);
    EXPECT_EQ(a.seenOutCapacity, 4096);

    ASSERT_EQ(cf.process(&in, &smaller), 0);
    EXPECT_EQ(Probe::scratchA(cf), grownA);
    EXPECT_EQ(Probe::scratchB(cf), grownB);

    ASSERT_EQ(cf.process(&in, &bigger), 0);
    EXPECT_EQ(Probe::scratchA(cf)->capacity, 4097);
    EXPECT_EQ(Probe::scratchB(cf)->capacity, 4097);
}

// Every member sees parameter calls and resets; the last nonzero answer wins.
TEST(CompositionFilter, ParametersAndResetReachEveryMember) {
    ALCFilter alc;
    ProbeFilter plain1, plain2;
    CompositionFilter cf(&plain1, &alc, &plain2);
    unsigned char block[20];
    ASSERT_EQ(cf.getParamData(0x70414C43, block, sizeof block), 20);
    EXPECT_EQ(cf.setParamData(0x70414C43, block, sizeof block), 20);
    EXPECT_EQ(cf.setParamData(0x70000000, block, sizeof block), 0);
    block[0] ^= 1;  // wrong magic
    EXPECT_EQ(cf.setParamData(0x70414C43, block, sizeof block), -1);
    EXPECT_EQ(cf.getParamData(0x70414C43, block, 19), -1);
    EXPECT_EQ(plain1.paramCalls, 5);
    EXPECT_EQ(plain2.paramCalls, 5);
    cf.reset();
    EXPECT_EQ(plain1.resetCalls + plain2.resetCalls, 2);

    ProbeFilter first, second, third;
    for (ProbeFilter* f : {&first, &second, &third}) f->paramId = 0x70515151;
    first.paramAnswer = 7;
    second.paramAnswer = -1;
    CompositionFilter answers(&first, &second, &third);
    EXPECT_EQ(answers.setParamData(0x70515151, block, 4), -1);
    first.paramAnswer = -1;
    second.paramAnswer = 7;
    EXPECT_EQ(answers.getParamData(0x70515151, block, 4), 7);
}

TEST(CompositionFilterName, JoinsMemberNamesInOrderAndNests) {
    ALCFilter alc;
    ProbeFilter a("A"), b("B");
    CompositionFilter inner(&a, &b);
    CompositionFilter outer(&alc, &inner);
    EXPECT_STREQ(outer.getName(), "CF:[ALC -> CF:[A -> B]]");

    // Every constructor, two to ten members, keeps the argument order.
    std::vector<std::unique_ptr<ProbeFilter>> p;
    for (int i = 0; i < 10; ++i) p.push_back(std::make_unique<ProbeFilter>(std::to_string(i)));
    auto f = [&](int i) { return p[static_cast<size_t>(i)].get(); };
    std::unique_ptr<CompositionFilter> cfs[] = {
        std::make_unique<CompositionFilter>(f(0), f(1)),
        std::make_unique<CompositionFilter>(f(0), f(1), f(2)),
        std::make_unique<CompositionFilter>(f(0), f(1), f(2), f(3)),
        std::make_unique<CompositionFilter>(f(0), f(1), f(2), f(3), f(4)),
        std::make_unique<CompositionFilter>(f(0), f(1), f(2), f(3), f(4), f(5)),
        std::make_unique<CompositionFilter>(f(0), f(1), f(2), f(3), f(4), f(5), f(6)),
        std::make_unique<CompositionFilter>(f(0), f(1), f(2), f(3), f(4), f(5), f(6), f(7)),
        std::make_unique<CompositionFilter>(f(0), f(1), f(2), f(3), f(4), f(5), f(6), f(7), f(8)),
        std::make_unique<CompositionFilter>(f(0), f(1), f(2), f(3), f(4), f(5), f(6), f(7), f(8),
                                            f(9))};
    std::string joined = "0";
    for (int k = 0; k < 9; ++k) {
        joined += " -> " + std::to_string(k + 1);
        EXPECT_EQ(cfs[k]->getName(), "CF:[" + joined + "]");
    }
    Block blk({0.5, 0.5}, 2);
    ASSERT_EQ(cfs[8]->process(&blk.in, &blk.out), 0);
    for (auto& probe : p) EXPECT_EQ(probe->processCalls, 1);
}

// The working text is cut at 4078 before the prefix goes on, so the closing
// bracket and the prefix's worth of the text are lost.
TEST(CompositionFilterName, IsCutAt4078Characters) {
    ProbeFilter a(std::string(3000, 'a')), b(std::string(3000, 'b'));
    CompositionFilter cf(&a, &b);
    EXPECT_EQ(std::string(cf.getName()),
              "CF:[" + std::string(3000, 'a') + " -> " + std::string(1070, 'b'));
    ProbeFilter longer(std::string(4069, 'x')), tiny("y");
    CompositionFilter full(&longer, &tiny);  // 4 + 4069 + 4 + 1 = 4078: only the bracket goes
    EXPECT_EQ(std::string(full.getName()), "CF:[" + std::string(4069, 'x') + " -> y");
}
