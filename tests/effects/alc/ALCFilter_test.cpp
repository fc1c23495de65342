#include <quorvex/ALCFilter.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "effects/common/RunBlock.h"
#include "support/ParamBlock.h"

using testing_filters::Bytes;
using testing_filters::storedBlock;

namespace {

constexpr unsigned long kId = 0x70414C43;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

Bytes block(int32_t mode, double recovery = 0.01 / 65536.0, unsigned char enabled = 1) {
    Bytes b = {0x31, 0x4C, 0x41, 0x6D, enabled, 0, 0, 0};
    b.resize(20);
    std::memcpy(&b[8], &mode, 4);
    std::memcpy(&b[12], &recovery, 8);
    return b;
}

void configure(ALCFilter& f, const Bytes& b) { ASSERT_EQ(f.setParamData(kId, b.data(), 20), 20); }

std::vector<double> run(ALCFilter& f, const std::vector<double>& x) {
    return testutil::runBlock(f, x, 44100);
}

}  // namespace

TEST(ALCFilterParams, DefaultBlockChecksAndStoredBytes) {
    ALCFilter f;
    EXPECT_EQ(storedBlock(f, kId, 20), block(2, 1.52587890625e-07));
    EXPECT_STREQ(f.getName(), "ALC");
    testing_filters::expectBlockChecks(f, kId, 0x70455551, block(1, 0.5));

    Bytes b = block(1, 0.5);
    b[5] = 0x7F;
    b[6] = 0xAA;
    b[7] = 0x55;
    EXPECT_EQ(f.setParamData(kId, b.data(), 64), 20);
    EXPECT_EQ(storedBlock(f, kId, 20), b);
}

TEST(ALCFilterParams, RefusedValuesKeepParametersAndGain) {
    ALCFilter f;
    configure(f, block(1));
    run(f, {2.0, 0.0});  // gain falls to 0.5
    const Bytes before = storedBlock(f, kId, 20);
    for (int32_t mode : {0, 3, -1}) EXPECT_EQ(f.setParamData(kId, block(mode).data(), 20), -1);
    for (double r : {-0.1, 1.5, kNaN, -1e-300, 2.0})
        EXPECT_EQ(f.setParamData(kId, block(2, r).data(), 20), -1) << r;
    EXPECT_EQ(storedBlock(f, kId, 20), before);
    EXPECT_EQ(run(f, {0.5, 0.5}), (std::vector<double>{0.25, 0.25}));  // still mode 1, gain 0.5
    for (double r : {0.0, 1.0}) EXPECT_EQ(f.setParamData(kId, block(1, r).data(), 20), 20);
}

// The gain falls per frame, earlier frames keep theirs, and it recovers by
// the rate times the block's doubles (an unpaired last double included,
// though it is not written).
TEST(ALCLinked, GainFallsPerFrameAndRecoversPerBlock) {
    ALCFilter f;
    configure(f, block(2, 0.01));
    EXPECT_EQ(run(f, {0.5, 0.5, 4.0, 0.0}), (std::vector<double>{0.5, 0.5, 1.0, 0.0}));
    EXPECT_EQ(run(f, {0.5, 0.5})[0], 0.5 * (0.25 + 4 * 0.01));

    configure(f, block(2, 0.01));  // the louder channel, either one, lands on full scale
    EXPECT_EQ(run(f, {2.0, 0.5, 0.5, -4.0}), (std::vector<double>{1.0, 0.25, 0.125, -1.0}));

    configure(f, block(2, 0.01));
    EXPECT_EQ(run(f, {2.0, 0.0, 0.5, 0.5, 3.0}),
              (std::vector<double>{1.0, 0.0, 0.25, 0.25, -123.0}));
    EXPECT_EQ(run(f, {0.5, 0.5})[0], 0.5 * (0.5 + 5 * 0.01));

    configure(f, block(2, 0.0));
    run(f, {8.0, 0.0});
    EXPECT_EQ(run(f, std::vector<double>(1000, 0.5))[999], 0.0625);  // no recovery at all
    f.reset();
    EXPECT_EQ(run(f, {0.5, 0.5})[0], 0.5);
}

TEST(ALCLinked, RecoveryOvershootsOnceThenPinsToOne) {
    ALCFilter f;
    configure(f, block(2, 1e-6));
    std::vector<double> block0(2048, 0.0);
    block0[0] = 1.0 / 0.9999;
    run(f, block0);
    const double gain = 1.0 / (1.0 / 0.9999) + 2048.0 * 1e-6;
    const std::vector<double> quiet(2048, 0.5);
    const std::vector<double> y = run(f, quiet);
    EXPECT_EQ(y[0], 0.5 * gain);
    EXPECT_EQ(y[2047], 0.5 * gain);
    EXPECT_EQ(run(f, quiet)[0], 0.5);
}

TEST(ALCPerSample, GainOnlyFallsSampleBySampleAndIgnoresFullScaleAndNaN) {
    ALCFilter f;
    configure(f, block(1));
    EXPECT_EQ(run(f, {0.5, 2.0}), (std::vector<double>{0.5, 1.0}));
    EXPECT_EQ(run(f, {0.5, 1.0}), (std::vector<double>{0.25, 0.5}));
    EXPECT_EQ(run(f, std::vector<double>(4096, 0.5))[4095], 0.25);  // no recovery
    configure(f, block(1));                                         // a new block resets
    EXPECT_EQ(run(f, {0.5})[0], 0.5);

    configure(f, block(1));
    std::vector<double> y = run(f, {1.0, -1.0, kNaN, 0.5});
    EXPECT_EQ(y[0], 1.0);
    EXPECT_EQ(y[1], -1.0);
    EXPECT_TRUE(std::isnan(y[2]));
    EXPECT_EQ(y[3], 0.5);

    configure(f, block(1));
    y = run(f, {INFINITY, 0.5});
    EXPECT_TRUE(std::isnan(y[0]));
    EXPECT_EQ(y[1], 0.0);
}

TEST(ALCProcess, DisabledIsBitExactAndRefusedBlocksLeaveNoTrace) {
    ALCFilter f;
    configure(f, block(2, 0.0));
    run(f, {2.0, 0.0});  // gain 0.5
    configure(f, block(2, 0.0, 0));
    const std::vector<double> x = {3.0, -7.5, 1e-310, -0.0};
    EXPECT_TRUE(testutil::sameBits(run(f, x), x));

    ALCFilter fresh;
    testutil::expectCapacityChecked(fresh, 44100);
    std::vector<double> loud = {4.0, 0.0, 0.5, 0.5}, out(3);
    RealAudioBuffer in(loud.data(), 4, 4, 44100, 16), shortOut(out.data(), 3, 0, 0, 0);
    EXPECT_EQ(fresh.process(&in, &shortOut), -1);
    EXPECT_EQ(run(fresh, {0.5, 0.5})[0], 0.5);  // the refused block did not lower the gain
}
