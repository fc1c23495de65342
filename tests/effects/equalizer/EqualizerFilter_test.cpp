#include <quorvex/EqualizerFilter.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "effects/common/RunBlock.h"
#include "effects/equalizer/EqualizerTables.h"

using testutil::runBlock;

namespace {

constexpr unsigned long kId = 0x70455551;
constexpr int kRates[] = {44100, 48000, 88200, 96000};

struct Block {
    unsigned char bytes[92];
    void setGain(int band, double g) { std::memcpy(bytes + 8 + 8 * band, &g, 8); }
    double gain(int band) const {
        double g;
        std::memcpy(&g, bytes + 8 + 8 * band, 8);
        return g;
    }
};

Block gains(std::initializer_list<std::pair<int, double>> bandGains, unsigned char enabled = 1) {
    Block b{};
    const uint32_t magic = 0x6D457032;
    std::memcpy(b.bytes, &magic, 4);
    b.bytes[4] = enabled;
    for (const auto& bg : bandGains) b.setGain(bg.first, bg.second);
    return b;
}

void configure(EqualizerFilter& f, const Block& b) { ASSERT_EQ(f.setParamData(kId, b.bytes, 92), 92); }

// Level change in dB of a sine once the sections have settled, measured over
// a whole number of periods.
double sineGainDb(EqualizerFilter& f, double hz, int rate) {
    const int settle = rate / 2;
    const int measured = rate / 10;
    std::vector<double> x = testutil::stereoSine(hz, rate, settle + measured);
    std::vector<double> y = runBlock(f, x, rate);
    double inPower = 0.0, outPower = 0.0;
    for (size_t i = 2 * static_cast<size_t>(settle); i < x.size(); i += 2) {
        inPower += x[i] * x[i];
        outPower += y[i] * y[i];
    }
    return 10.0 * std::log10(outPower / inPower);
}

}  // namespace

TEST(EqualizerParams, DefaultBlockAndName) {
    EqualizerFilter f;
    unsigned char b[96];
    std::memset(b, 0xEE, sizeof b);
    EXPECT_EQ(f.getParamData(kId, b, 96), 92);
    const unsigned char head[8] = {0x32, 0x70, 0x45, 0x6D, 0, 0, 0, 0};
    EXPECT_EQ(std::memcmp(b, head, 8), 0);
    for (int i = 8; i < 89; ++i) EXPECT_EQ(b[i], 0) << i;  // ten 0.0 gains, reserved 0
    for (int i = 89; i < 96; ++i) EXPECT_EQ(b[i], 0xEE) << i;
    EXPECT_STREQ(f.getName(), "Equalizer");
}

TEST(EqualizerParams, IdentifierSizeAndNullChecks) {
    EqualizerFilter f;
    Block b = gains({{3, 0.5}});
    EXPECT_EQ(f.setParamData(0x70414C43, b.bytes, 92), 0);
    EXPECT_EQ(f.getParamData(0x70414C43, b.bytes, 92), 0);
    EXPECT_EQ(f.setParamData(kId, b.bytes, 91), -1);
    EXPECT_EQ(f.getParamData(kId, b.bytes, 91), -1);
    EXPECT_EQ(f.setParamData(kId, nullptr, 92), -1);
    EXPECT_EQ(f.getParamData(kId, nullptr, 92), -1);
    EXPECT_EQ(f.setParamData(kId, b.bytes, -1), 92);  // size compared unsigned
    Block bad = b;
    bad.bytes[3] ^= 1;
    EXPECT_EQ(f.setParamData(kId, bad.bytes, 92), -1);
}

TEST(EqualizerParams, OutOfRangeGainKeepsEverything) {
    EqualizerFilter f;
    configure(f, gains({{3, 1.0}, {9, -1.0}}));
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (double g : {1.0000001, -1.0000001, nan, HUGE_VAL})
        for (int band : {0, 5, 9})
            EXPECT_EQ(f.setParamData(kId, gains({{band, g}}).bytes, 92), -1) << g << " " << band;
    Block back;
    f.getParamData(kId, back.bytes, 92);
    EXPECT_EQ(back.gain(3), 1.0);
    EXPECT_EQ(back.gain(9), -1.0);
    EXPECT_NEAR(sineGainDb(f, 1000.0, 44100), 12.0, 0.01);
}

TEST(EqualizerParams, KeepsPaddingAndReservedButNotTheTail) {
    EqualizerFilter f;
    Block b = gains({{9, -0.25}});
    b.bytes[5] = 0xA5;
    b.bytes[7] = 0x5A;
    b.bytes[88] = 0x77;
    b.bytes[89] = b.bytes[90] = b.bytes[91] = 0x99;
    configure(f, b);
    Block back;
    std::memset(back.bytes, 0x11, sizeof back.bytes);
    EXPECT_EQ(f.getParamData(kId, back.bytes, 92), 92);
    EXPECT_EQ(std::memcmp(back.bytes, b.bytes, 89), 0);
    for (int i = 89; i < 92; ++i) EXPECT_EQ(back.bytes[i], 0x11);
}

// Each gain lands on a 1 dB step, truncated downwards; the band centre gets
// the step's full gain.
TEST(EqualizerBands, GainSelectsItsStepAtTheBandCentre) {
    const std::pair<double, double> cases[] = {
        {1.0, 12.0}, {-1.0, -12.0}, {0.04, 0.0}, {-0.04, -1.0}, {0.5, 6.0}, {-0.5, -6.0}};
    EqualizerFilter f;
    for (const auto& c : cases) {
        configure(f, gains({{3, c.first}}));
        EXPECT_NEAR(sineGainDb(f, 1000.0, 44100), c.second, 0.01) << c.first;
    }
}

TEST(EqualizerBands, FlatGainsPassTheSignalAtEveryRate) {
    EqualizerFilter f;
    configure(f, gains({}));
    const std::vector<double> x = testutil::noise(4000);
    for (int rate : kRates)
        EXPECT_LT(testutil::maxAbsDifference(runBlock(f, x, rate), x), 1e-9) << rate;
}

TEST(EqualizerBands, UpperBandsActOnlyAtTheHighRates) {
    EqualizerFilter f;
    configure(f, gains({{7, 1.0}, {8, -1.0}, {9, 1.0}}));
    const std::vector<double> x = testutil::noise(4000);
    for (int rate : {44100, 48000})
        EXPECT_LT(testutil::maxAbsDifference(runBlock(f, x, rate), x), 1e-9) << rate;
    for (int rate : {88200, 96000})
        EXPECT_GT(testutil::maxAbsDifference(runBlock(f, x, rate), x), 0.1) << rate;
    EXPECT_LT(sineGainDb(f, 30.0, 96000), -11.0);  // the low shelf's floor
}

TEST(EqualizerBands, EachRateShapesItsOwnBands) {
    EqualizerFilter f;
    configure(f, gains({{6, 1.0}}));
    for (int rate : kRates) EXPECT_NEAR(sineGainDb(f, 16000.0, rate), 12.0, 0.05) << rate;
    // Six-digit coefficients blur the 63 Hz band's poles at the higher rates.
    configure(f, gains({{0, -1.0}}));
    for (int rate : kRates) EXPECT_NEAR(sineGainDb(f, 63.0, rate), -11.5, 0.55) << rate;
}

TEST(EqualizerSharedState, LastConstructionOrResetDecidesForAll) {
    EqualizerFilter first;
    configure(first, gains({{3, 1.0}}));
    EXPECT_NEAR(sineGainDb(first, 1000.0, 44100), 12.0, 0.01);

    EqualizerFilter second;  // flattens every band
    EXPECT_NEAR(sineGainDb(first, 1000.0, 44100), 0.0, 0.001);
    Block stored;
    first.getParamData(kId, stored.bytes, 92);
    EXPECT_EQ(stored.gain(3), 1.0);

    first.reset();
    EXPECT_NEAR(sineGainDb(first, 1000.0, 44100), 12.0, 0.01);

    configure(second, gains({{3, -1.0}}, 0));  // a block on the other applies to both
    EXPECT_NEAR(sineGainDb(first, 1000.0, 44100), -12.0, 0.01);
}

TEST(EqualizerProcess, DisabledOrUnknownRateCopiesBitExact) {
    EqualizerFilter f;
    std::vector<double> x = {0.25, -0.0, 1e-310, 3.5, std::numeric_limits<double>::quiet_NaN()};
    configure(f, gains({{0, 1.0}}, 0));
    for (int rate : kRates) EXPECT_TRUE(testutil::sameBits(runBlock(f, x, rate), x)) << rate;
    configure(f, gains({{0, 1.0}}));
    EXPECT_TRUE(testutil::sameBits(runBlock(f, x, 32000), x));
}

TEST(EqualizerProcess, OddLengthCopiesTheUnpairedDouble) {
    EqualizerFilter f;
    configure(f, gains({{3, 1.0}}));
    std::vector<double> y = runBlock(f, {0.5, 0.5, 0.25}, 44100);
    EXPECT_NE(y[0], 0.5);
    EXPECT_EQ(y[2], 0.25);
}

TEST(EqualizerProcess, CapacityIsCheckedBeforeAnythingIsWritten) {
    EqualizerFilter f;
    configure(f, gains({{3, 1.0}}));
    testutil::expectCapacityChecked(f, 44100);
}

// The sections' exact arithmetic, spelled out for fresh histories (each test
// case runs in its own process): per band, w = x + (a1 d1 + a2 d2) and
// y = b0 w + (b1 d1 + b2 d2), with the step each gain selects.
TEST(EqualizerKernels, FollowTheSectionRecurrenceBitForBit) {
    const int steps[10] = {12, 0, 24, 18, 11, 12, 3, 20, 5, 22};
    Block b = gains({});
    for (int band = 0; band < 10; ++band) b.setGain(band, std::fmin(1.0, (steps[band] - 12) / 12.0 + 0.01));
    EqualizerFilter f;
    configure(f, b);

    double d[2][10][2] = {};
    const std::vector<double> x = testutil::noise(300);
    for (size_t frame = 0; frame < x.size() / 2; ++frame) {
        double want[2] = {x[2 * frame], x[2 * frame + 1]};
        for (int band = 0; band < 10; ++band) {
            const int at = 75 * band + steps[band];
            const double* A = gEQ_Coeff88k_A;
            const double* B = gEQ_Coeff88k_B;
            for (int ch = 0; ch < 2; ++ch) {
                double* s = d[ch][band];
                const double w = want[ch] + (A[at + 25] * s[0] + A[at + 50] * s[1]);
                want[ch] = B[at] * w + (B[at + 25] * s[0] + B[at + 50] * s[1]);
                s[1] = s[0];
                s[0] = w;
            }
        }
        double l, r;
        equalizer_88k(x[2 * frame], x[2 * frame + 1], &l, &r);
        ASSERT_EQ(l, want[0]) << frame;
        ASSERT_EQ(r, want[1]) << frame;
    }
}
