#include <quorvex/ALCFilter.h>
#include <quorvex/CompositionFilter.h>

#include <gtest/gtest.h>

#include <cstring>
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
    Block(std::vector<double> x, int capacity, int rate = 44100, int bits = 16)
        : samples(std::move(x)),
          in(samples.data(), static_cast<int>(samples.size()), static_cast<int>(samples.size()),
             rate, bits),
          out(capacity, rate, bits) {}
};

}  // namespace

TEST(CompositionFilter, StartsWithOneDoublePlaceholders) {
    ProbeFilter a, b;
    CompositionFilter cf(&a, &b);
    for (const RealAudioBuffer* s : {Probe::scratchA(cf), Probe::scratchB(cf)}) {
        EXPECT_TRUE(s->ownsData);
        EXPECT_NE(s->data, nullptr);
        EXPECT_EQ(s->capacity, 1);
        EXPECT_EQ(s->length, 0);
        EXPECT_EQ(s->channels, 2);
        EXPECT_EQ(s->sampleRate, 44100);
        EXPECT_EQ(s->bitsPerSample, 16);
    }
    EXPECT_NE(Probe::scratchA(cf), Probe::scratchB(cf));
}

TEST(CompositionFilter, TwoDoublersMultiplyByFourThroughScratchA) {
    ProbeFilter a, b;
    a.gain = b.gain = 2.0;
    CompositionFilter cf(&a, &b);
    Block blk({0.125, -0.25, 0.0625, 0.01}, 8);
    ASSERT_EQ(cf.process(&blk.in, &blk.out), 0);
    ASSERT_EQ(blk.out.length, 4);
    EXPECT_EQ(blk.out.data[0], 0.5);
    EXPECT_EQ(blk.out.data[1], -1.0);
    EXPECT_EQ(blk.out.data[2], 0.25);
    EXPECT_EQ(blk.out.data[3], 0.04);
    EXPECT_EQ(a.lastIn, &blk.in);
    EXPECT_EQ(a.lastOut, Probe::scratchA(cf));
    EXPECT_EQ(b.lastIn, Probe::scratchA(cf));
    EXPECT_EQ(b.lastOut, &blk.out);
}

TEST(CompositionFilter, MembersAlternateBetweenTheScratchBuffers) {
    ProbeFilter f0, f1, f2, f3;
    CompositionFilter three(&f0, &f1, &f2);
    Block blk({0.5, 0.5}, 4);
    ASSERT_EQ(three.process(&blk.in, &blk.out), 0);
    EXPECT_EQ(f0.lastOut, Probe::scratchA(three));
    EXPECT_EQ(f1.lastIn, Probe::scratchA(three));
    EXPECT_EQ(f1.lastOut, Probe::scratchB(three));
    EXPECT_EQ(f2.lastIn, Probe::scratchB(three));
    EXPECT_EQ(f2.lastOut, &blk.out);

    CompositionFilter four(&f0, &f1, &f2, &f3);
    ASSERT_EQ(four.process(&blk.in, &blk.out), 0);
    EXPECT_EQ(f2.lastOut, Probe::scratchA(four));
    EXPECT_EQ(f3.lastIn, Probe::scratchA(four));
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

TEST(CompositionFilter, StopsAtTheFirstFailingMember) {
    ProbeFilter a, b, c;
    a.failWith = -1;
    CompositionFilter cf(&a, &b, &c);
    Block blk({0.5, 0.5}, 4);
    blk.out.length = 3;
    EXPECT_EQ(cf.process(&blk.in, &blk.out), -1);
    EXPECT_EQ(blk.out.length, 3);
    EXPECT_EQ(b.processCalls, 0);
    EXPECT_EQ(c.processCalls, 0);

    a.failWith = 0;
    c.failWith = -1;
    EXPECT_EQ(cf.process(&blk.in, &blk.out), -1);
    EXPECT_EQ(b.processCalls, 1);
    EXPECT_EQ(blk.out.length, 0);  // the last member's target was prepared
}

TEST(CompositionFilter, MemberNeedingMoreRoomThanTheOutputFailsTheChain) {
    ProbeFilter up, down;
    up.repeat = 2;
    CompositionFilter cf(&up, &down);
    Block blk({0.5, 0.5, 0.5, 0.5}, 4);
    EXPECT_EQ(cf.process(&blk.in, &blk.out), -1);
    EXPECT_EQ(down.processCalls, 0);
}

TEST(CompositionFilter, ScratchBuffersGrowToTheOutputCapacityOnly) {
    ProbeFilter a, b, c;
    CompositionFilter cf(&a, &b, &c);
    std::vector<double> x(8, 0.25);
    RealAudioBuffer in(x.data(), 8, 8, 44100, 16);
    RealAudioBuffer big(4096, 44100, 16);
    ASSERT_EQ(cf.process(&in, &big), 0);
    const RealAudioBuffer* grownA = Probe::scratchA(cf);
    const RealAudioBuffer* grownB = Probe::scratchB(cf);
    EXPECT_EQ(grownA->capacity, 4096);
    EXPECT_EQ(grownB->capacity, 4096);
    EXPECT_TRUE(grownA->ownsData);
    EXPECT_EQ(a.seenOutCapacity, 4096);

    RealAudioBuffer smaller(2048, 44100, 16);
    ASSERT_EQ(cf.process(&in, &smaller), 0);
    EXPECT_EQ(Probe::scratchA(cf), grownA);
    EXPECT_EQ(Probe::scratchB(cf), grownB);

    RealAudioBuffer bigger(4097, 44100, 16);
    ASSERT_EQ(cf.process(&in, &bigger), 0);
    EXPECT_EQ(Probe::scratchA(cf)->capacity, 4097);
    EXPECT_EQ(Probe::scratchB(cf)->capacity, 4097);
}

TEST(CompositionFilterParams, EveryMemberSeesTheCallAndTheLastNonzeroAnswerWins) {
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

    ProbeFilter first, second, third;
    for (ProbeFilter* f : {&first, &second, &third}) f->paramId = 0x70515151;
    first.paramAnswer = 7;
    second.paramAnswer = -1;
    third.paramAnswer = 0;
    CompositionFilter answers(&first, &second, &third);
    EXPECT_EQ(answers.setParamData(0x70515151, block, 4), -1);
    first.paramAnswer = -1;
    second.paramAnswer = 7;
    EXPECT_EQ(answers.getParamData(0x70515151, block, 4), 7);
}

TEST(CompositionFilter, ResetReachesEveryMember) {
    ProbeFilter a, b, c;
    CompositionFilter cf(&a, &b, &c);
    cf.reset();
    EXPECT_EQ(a.resetCalls + b.resetCalls + c.resetCalls, 3);
}

TEST(CompositionFilterName, JoinsMemberNamesAndNests) {
    ALCFilter alc;
    ProbeFilter a("A"), b("B");
    CompositionFilter inner(&a, &b);
    CompositionFilter outer(&alc, &inner);
    EXPECT_STREQ(outer.getName(), "CF:[ALC -> CF:[A -> B]]");
}

TEST(CompositionFilterName, EveryConstructorKeepsTheArgumentOrder) {
    std::vector<std::unique_ptr<ProbeFilter>> p;
    for (int i = 0; i < 10; ++i) p.push_back(std::make_unique<ProbeFilter>(std::to_string(i)));
    auto f = [&](int i) { return p[static_cast<size_t>(i)].get(); };
    std::vector<std::unique_ptr<CompositionFilter>> cfs;
    cfs.push_back(std::make_unique<CompositionFilter>(f(0), f(1)));
    cfs.push_back(std::make_unique<CompositionFilter>(f(0), f(1), f(2)));
    cfs.push_back(std::make_unique<CompositionFilter>(f(0), f(1), f(2), f(3)));
    cfs.push_back(std::make_unique<CompositionFilter>(f(0), f(1), f(2), f(3), f(4)));
    cfs.push_back(std::make_unique<CompositionFilter>(f(0), f(1), f(2), f(3), f(4), f(5)));
    cfs.push_back(
        std::make_unique<CompositionFilter>(f(0), f(1), f(2), f(3), f(4), f(5), f(6)));
    cfs.push_back(
        std::make_unique<CompositionFilter>(f(0), f(1), f(2), f(3), f(4), f(5), f(6), f(7)));
    cfs.push_back(std::make_unique<CompositionFilter>(f(0), f(1), f(2), f(3), f(4), f(5), f(6),
                                                      f(7), f(8)));
    cfs.push_back(std::make_unique<CompositionFilter>(f(0), f(1), f(2), f(3), f(4), f(5), f(6),
                                                      f(7), f(8), f(9)));
    std::string joined = "0";
    for (size_t k = 0; k < cfs.size(); ++k) {
        joined += " -> " + std::to_string(k + 1);
        EXPECT_EQ(cfs[k]->getName(), "CF:[" + joined + "]");
    }
    Block blk({0.5, 0.5}, 2);
    ASSERT_EQ(cfs.back()->process(&blk.in, &blk.out), 0);
    for (auto& probe : p) EXPECT_EQ(probe->processCalls, 1);
}

TEST(CompositionFilterName, IsCutAt4078Characters) {
    ProbeFilter a(std::string(3000, 'a')), b(std::string(3000, 'b'));
    CompositionFilter cf(&a, &b);
    const std::string name = cf.getName();
    ASSERT_EQ(name.size(), 4078u);
    // The working text was cut at 4078 before the prefix went on, so the
    // closing bracket and the prefix's worth of b's are lost.
    EXPECT_EQ(name, "CF:[" + std::string(3000, 'a') + " -> " + std::string(1070, 'b'));

    ProbeFilter longer(std::string(4069, 'x')), tiny("y");
    CompositionFilter full(&longer, &tiny);  // 4 + 4069 + 4 + 1 = 4078: only the bracket goes
    EXPECT_EQ(std::string(full.getName()), "CF:[" + std::string(4069, 'x') + " -> y");
}
