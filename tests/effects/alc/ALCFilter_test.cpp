#include <quorvex/ALCFilter.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

namespace {

constexpr unsigned long kId = 0x70414C43;

struct Block {
    unsigned char bytes[20];
    void set(int offset, const void* v, size_t n) { std::memcpy(bytes + offset, v, n); }
    int32_t mode() const {
        int32_t m;
        std::memcpy(&m, bytes + 8, 4);
        return m;
    }
    double recovery() const {
        double r;
        std::memcpy(&r, bytes + 12, 8);
        return r;
    }
};

Block defaults() {
    ALCFilter f;
    Block b;
    f.getParamData(kId, b.bytes, sizeof b.bytes);
    return b;
}

Block withMode(int32_t mode, double recovery = 0.01 / 65536.0, unsigned char enabled = 1) {
    Block b = defaults();
    b.set(8, &mode, 4);
    b.set(12, &recovery, 8);
    b.bytes[4] = enabled;
    return b;
}

// Runs one block through the filter and returns the output doubles.
std::vector<double> run(ALCFilter& f, const std::vector<double>& x, int sampleRate = 44100) {
    std::vector<double> inData(x);
    std::vector<double> outData(x.size() + 1, -123.0);
    RealAudioBuffer in(inData.data(), static_cast<int>(inData.size()),
                       static_cast<int>(inData.size()), sampleRate, 16);
    RealAudioBuffer out(outData.data(), static_cast<int>(outData.size()), 0, 0, 0);
    EXPECT_EQ(f.process(&in, &out), 0);
    EXPECT_EQ(out.length, static_cast<int>(x.size()));
    EXPECT_EQ(out.sampleRate, sampleRate);
    EXPECT_EQ(out.bitsPerSample, 16);
    outData.resize(x.size());
    return outData;
}

ALCFilter& configured(ALCFilter& f, const Block& b) {
    EXPECT_EQ(f.setParamData(kId, b.bytes, sizeof b.bytes), 20);
    return f;
}

}  // namespace

TEST(ALCFilterParams, DefaultBlock) {
    ALCFilter f;
    unsigned char b[24];
    std::memset(b, 0xEE, sizeof b);
    EXPECT_EQ(f.getParamData(kId, b, 24), 20);
    const unsigned char expected[20] = {0x31, 0x4C, 0x41, 0x6D, 1, 0, 0, 0, 2, 0, 0, 0};
    EXPECT_EQ(std::memcmp(b, expected, 12), 0);
    double recovery;
    std::memcpy(&recovery, b + 12, 8);
    EXPECT_EQ(recovery, 1.52587890625e-07);
    EXPECT_EQ(b[20], 0xEE);  // nothing written past the block
    EXPECT_STREQ(f.getName(), "ALC");
}

TEST(ALCFilterParams, IdentifierSizeAndNullChecks) {
    ALCFilter f;
    Block b = defaults();
    EXPECT_EQ(f.setParamData(0x70455551, b.bytes, 20), 0);
    EXPECT_EQ(f.getParamData(0x70455551, b.bytes, 20), 0);
    EXPECT_EQ(f.setParamData(kId, b.bytes, 19), -1);
    EXPECT_EQ(f.getParamData(kId, b.bytes, 19), -1);
    EXPECT_EQ(f.setParamData(kId, b.bytes, -1), 20);  // size compared unsigned
    EXPECT_EQ(f.setParamData(kId, nullptr, 20), -1);
    EXPECT_EQ(f.getParamData(kId, nullptr, 20), -1);
    EXPECT_EQ(f.setParamData(0x1234, nullptr, 20), 0);
}

TEST(ALCFilterParams, RangeChecks) {
    ALCFilter f;
    for (int32_t mode : {0, 3, -1})
        EXPECT_EQ(f.setParamData(kId, withMode(mode).bytes, 20), -1) << mode;
    for (double r : {-0.1, 1.5, std::numeric_limits<double>::quiet_NaN(), -1e-300})
        EXPECT_EQ(f.setParamData(kId, withMode(2, r).bytes, 20), -1) << r;
    for (double r : {0.0, 1.0}) EXPECT_EQ(f.setParamData(kId, withMode(1, r).bytes, 20), 20);
    Block badMagic = defaults();
    badMagic.bytes[0] ^= 1;
    EXPECT_EQ(f.setParamData(kId, badMagic.bytes, 20), -1);
}

TEST(ALCFilterParams, StoresFlagAndReservedBytesAndRewritesTheMagic) {
    ALCFilter f;
    Block b = withMode(1, 0.5);
    b.bytes[5] = 0x7F;
    b.bytes[6] = 0xAA;
    b.bytes[7] = 0x55;
    EXPECT_EQ(f.setParamData(kId, b.bytes, 64), 20);
    Block back;
    EXPECT_EQ(f.getParamData(kId, back.bytes, 20), 20);
    EXPECT_EQ(std::memcmp(back.bytes, b.bytes, 20), 0);
}

TEST(ALCFilterParams, RefusedBlockKeepsParametersAndGain) {
    ALCFilter f;
    configured(f, withMode(1));
    run(f, {2.0, 0.0});  // gain falls to 0.5
    Block before;
    f.getParamData(kId, before.bytes, 20);

    EXPECT_EQ(f.setParamData(kId, withMode(2, 2.0).bytes, 20), -1);
    Block after;
    f.getParamData(kId, after.bytes, 20);
    EXPECT_EQ(std::memcmp(before.bytes, after.bytes, 20), 0);
    EXPECT_EQ(run(f, {0.5, 0.5}), (std::vector<double>{0.25, 0.25}));  // still mode 1, gain 0.5
}

TEST(ALCLinked, LouderChannelLandsOnFullScale) {
    double l, r, gain = 1.0;
    ALC_doALC(2.0, 0.5, &l, &r, &gain);
    EXPECT_EQ(gain, 0.5);
    EXPECT_EQ(l, 1.0);
    EXPECT_EQ(r, 0.25);
    ALC_doALC(0.5, -4.0, &l, &r, &gain);
    EXPECT_EQ(gain, 0.25);
    EXPECT_EQ(l, 0.125);
    EXPECT_EQ(r, -1.0);
}

TEST(ALCLinked, EarlierFramesKeepTheirGainAndRecoveryFollows) {
    ALCFilter f;
    configured(f, withMode(2, 0.01));
    EXPECT_EQ(run(f, {0.5, 0.5, 4.0, 0.0}), (std::vector<double>{0.5, 0.5, 1.0, 0.0}));
    // Gain was 0.25 at the end of the block and recovered by 4 * 0.01.
    EXPECT_EQ(run(f, {0.5, 0.5}), (std::vector<double>{0.5 * (0.25 + 4 * 0.01),
                                                      0.5 * (0.25 + 4 * 0.01)}));
}

TEST(ALCLinked, RecoveryOvershootsOnceThenPinsToOne) {
    ALCFilter f;
    configured(f, withMode(2, 1e-6));
    // Drive the gain to 0.9999 with one frame, padded to 2048 doubles.
    std::vector<double> block(2048, 0.0);
    block[0] = 1.0 / 0.9999;
    run(f, block);
    const double gain = 1.0 / (1.0 / 0.9999) + 2048.0 * 1e-6;
    EXPECT_NEAR(gain, 1.001948, 1e-6);

    std::vector<double> quiet(2048, 0.5);
    std::vector<double> y = run(f, quiet);
    EXPECT_EQ(y[0], 0.5 * gain);
    EXPECT_EQ(y[2047], 0.5 * gain);
    EXPECT_EQ(run(f, quiet)[0], 0.5);  // pinned back to exactly 1.0
}

TEST(ALCLinked, OddLengthLeavesTheLastDoubleAndCountsItInRecovery) {
    ALCFilter f;
    configured(f, withMode(2, 0.01));
    std::vector<double> outData(5, -7.0);
    std::vector<double> inData = {2.0, 0.0, 0.5, 0.5, 3.0};
    RealAudioBuffer in(inData.data(), 5, 5, 48000, 24);
    RealAudioBuffer out(outData.data(), 5, 0, 0, 0);
    ASSERT_EQ(f.process(&in, &out), 0);
    EXPECT_EQ(out.length, 5);
    EXPECT_EQ(outData[4], -7.0);
    EXPECT_EQ(outData[0], 1.0);
    EXPECT_EQ(run(f, {0.5, 0.5})[0], 0.5 * (0.5 + 5 * 0.01));
}

TEST(ALCLinked, ZeroRecoveryNeverRecoversAndResetRestores) {
    ALCFilter f;
    configured(f, withMode(2, 0.0));
    run(f, {8.0, 0.0});
    EXPECT_EQ(run(f, std::vector<double>(1000, 0.5))[999], 0.0625);
    f.reset();
    EXPECT_EQ(run(f, {0.5, 0.5})[0], 0.5);
}

TEST(ALCPerSample, GainOnlyFallsAndAppliesSampleBySample) {
    ALCFilter f;
    configured(f, withMode(1));
    EXPECT_EQ(run(f, {0.5, 2.0}), (std::vector<double>{0.5, 1.0}));
    EXPECT_EQ(run(f, {0.5, 1.0}), (std::vector<double>{0.25, 0.5}));
    EXPECT_EQ(run(f, std::vector<double>(4096, 0.5))[4095], 0.25);  // no recovery
    configured(f, withMode(1));                                     // a new block resets
    EXPECT_EQ(run(f, {0.5})[0], 0.5);
}

TEST(ALCPerSample, FullScaleAndNaNLeaveTheGainAlone) {
    ALCFilter f;
    configured(f, withMode(1));
    const double nan = std::numeric_limits<double>::quiet_NaN();
    std::vector<double> y = run(f, {1.0, -1.0, nan, 0.5});
    EXPECT_EQ(y[0], 1.0);
    EXPECT_EQ(y[1], -1.0);
    EXPECT_TRUE(std::isnan(y[2]));
    EXPECT_EQ(y[3], 0.5);
}

TEST(ALCPerSample, InfinityDrivesTheGainToZero) {
    ALCFilter f;
    configured(f, withMode(1));
    std::vector<double> y = run(f, {INFINITY, 0.5});
    EXPECT_TRUE(std::isnan(y[0]));
    EXPECT_EQ(y[1], 0.0);
}

TEST(ALCProcess, DisabledIsBitExactAndFreezesTheGain) {
    ALCFilter f;
    configured(f, withMode(2, 0.0));
    run(f, {2.0, 0.0});  // gain 0.5
    configured(f, withMode(2, 0.0, 0));
    std::vector<double> x = {3.0, -7.5, 1e-310, -0.0};
    std::vector<double> y = run(f, x);
    EXPECT_EQ(std::memcmp(x.data(), y.data(), x.size() * sizeof(double)), 0);
}

TEST(ALCProcess, CapacityIsCheckedBeforeAnythingIsWritten) {
    ALCFilter f;
    std::vector<double> inData = {4.0, 0.0, 0.5, 0.5};
    std::vector<double> outData(4, -1.0);
    RealAudioBuffer in(inData.data(), 4, 4, 44100, 16);
    RealAudioBuffer shortOut(outData.data(), 3, 9, 1, 2);
    EXPECT_EQ(f.process(&in, &shortOut), -1);
    EXPECT_EQ(shortOut.length, 9);
    EXPECT_EQ(shortOut.sampleRate, 1);
    EXPECT_EQ(outData[0], -1.0);
    // The refused block did not lower the gain.
    EXPECT_EQ(run(f, {0.5, 0.5})[0], 0.5);

    RealAudioBuffer exact(outData.data(), 4, 0, 0, 0);
    EXPECT_EQ(f.process(&in, &exact), 0);
    EXPECT_EQ(exact.length, 4);
}

TEST(ALCProcess, EmptyBlockSetsFormatFields) {
    ALCFilter f;
    RealAudioBuffer in(nullptr, 0, 0, 96000, 24);
    RealAudioBuffer out(nullptr, 0, 5, 0, 0);
    EXPECT_EQ(f.process(&in, &out), 0);
    EXPECT_EQ(out.length, 0);
    EXPECT_EQ(out.sampleRate, 96000);
    EXPECT_EQ(out.bitsPerSample, 24);
}
