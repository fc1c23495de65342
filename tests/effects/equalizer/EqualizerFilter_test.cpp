#include <quorvex/EqualizerFilter.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "effects/common/RunBlock.h"
#include "effects/equalizer/EqualizerTables.h"
#include "support/ParamBlock.h"

using testing_filters::Bytes;
using testing_filters::storedBlock;
using testutil::runBlock;

namespace {

constexpr unsigned long kId = 0x70455551;
constexpr int kRates[] = {44100, 48000, 88200, 96000};

Bytes gains(std::initializer_list<std::pair<int, double>> bandGains, unsigned char enabled = 1) {
    Bytes b = {0x32, 0x70, 0x45, 0x6D, enabled, 0, 0, 0};
    b.resize(92);
    for (const auto& bg : bandGains) std::memcpy(&b[8 + 8 * bg.first], &bg.second, 8);
    return b;
}

void configure(EqualizerFilter& f, const Bytes& b) {
    ASSERT_EQ(f.setParamData(kId, b.data(), 92), 92);
}

// Level change in dB of a sine once the sections have settled.
double sineGainDb(EqualizerFilter& f, double hz, int rate) {
    const int settle = rate / 2;
    std::vector<double> x = testutil::stereoSine(hz, rate, settle + rate / 10);
    std::vector<double> y = runBlock(f, x, rate);
    double inPower = 0.0, outPower = 0.0;
    for (size_t i = 2 * static_cast<size_t>(settle); i < x.size(); i += 2) {
        inPower += x[i] * x[i];
        outPower += y[i] * y[i];
    }
    return 10.0 * std::log10(outPower / inPower);
}

}  // namespace

// The block stores padding and reserved bytes but never writes its last
// three bytes.
TEST(EqualizerParams, DefaultBlockChecksAndStoredBytes) {
    EqualizerFilter f;
    Bytes expected = gains({}, 0);
    expected[89] = expected[90] = expected[91] = 0xEE;
    EXPECT_EQ(storedBlock(f, kId, 92), expected);
    EXPECT_STREQ(f.getName(), "Equalizer");
    testing_filters::expectBlockChecks(f, kId, 0x70414C43, gains({{3, 0.5}}));

    Bytes b = gains({{9, -0.25}});
    b[5] = 0xA5;
    b[7] = 0x5A;
    b[88] = 0x77;
    b[89] = b[90] = b[91] = 0x99;
    configure(f, b);
    b[89] = b[90] = b[91] = 0xEE;
    EXPECT_EQ(storedBlock(f, kId, 92), b);
}

TEST(EqualizerParams, OutOfRangeGainKeepsEverything) {
    EqualizerFilter f;
    configure(f, gains({{3, 1.0}, {9, -1.0}}));
    const Bytes before = storedBlock(f, kId, 92);
    for (double g : {1.0000001, -1.0000001, std::numeric_limits<double>::quiet_NaN(), HUGE_VAL})
        for (int band : {0, 5, 9})
            EXPECT_EQ(f.setParamData(kId, gains({{band, g}}).data(), 92), -1) << g << " " << band;
    EXPECT_EQ(storedBlock(f, kId, 92), before);
    EXPECT_NEAR(sineGainDb(f, 1000.0, 44100), 12.0, 0.01);
}

// The level of a settled sine at a band centre. Each gain lands on a 1 dB
// step, truncated downwards; each rate has its own sections, and six-digit
// coefficients blur the 63 Hz band's poles at the higher rates.
TEST(EqualizerBands, GainAtTheBandCentre) {
    const struct {
        int band;
        double gain, hz, db, tolerance;
        std::vector<int> rates;
    } cases[] = {{3, 1.0, 1000, 12.0, 0.01, {44100}},      {3, -1.0, 1000, -12.0, 0.01, {44100}},
                 {3, 0.04, 1000, 0.0, 0.01, {44100}},      {3, -0.04, 1000, -1.0, 0.01, {44100}},
                 {3, 0.5, 1000, 6.0, 0.01, {44100}},       {3, -0.5, 1000, -6.0, 0.01, {44100}},
                 {6, 1.0, 16000, 12.0, 0.05, {44100, 48000, 88200, 96000}},
                 {0, -1.0, 63, -11.5, 0.55, {44100, 48000, 88200, 96000}},
                 {8, -1.0, 30, -11.75, 0.75, {96000}}};  // the low shelf's floor
    EqualizerFilter f;
    for (const auto& c : cases) {
        configure(f, gains({{c.band, c.gain}}));
        for (int rate : c.rates)
            EXPECT_NEAR(sineGainDb(f, c.hz, rate), c.db, c.tolerance)
                << c.band << " " << c.gain << " " << rate;
    }
}

TEST(EqualizerBands, FlatPassesAndUpperBandsActOnlyAtTheHighRates) {
    EqualizerFilter f;
    const std::vector<double> x = testutil::noise(4000);
    configure(f, gains({}));
    for (int rate : kRates)
        EXPECT_LT(testutil::maxAbsDifference(runBlock(f, x, rate), x), 1e-9) << rate;
    configure(f, gains({{7, 1.0}, {8, -1.0}, {9, 1.0}}));
    for (int rate : kRates)
        EXPECT_EQ(testutil::maxAbsDifference(runBlock(f, x, rate), x) > 0.1, rate > 80000) << rate;
}

TEST(EqualizerSharedState, LastConstructionOrResetDecidesForAll) {
    EqualizerFilter first;
    configure(first, gains({{3, 1.0}}));
    EXPECT_NEAR(sineGainDb(first, 1000.0, 44100), 12.0, 0.01);
    const Bytes stored = storedBlock(first, kId, 92);

    EqualizerFilter second;  // flattens every band
    EXPECT_NEAR(sineGainDb(first, 1000.0, 44100), 0.0, 0.001);
    EXPECT_EQ(storedBlock(first, kId, 92), stored);

    first.reset();
    EXPECT_NEAR(sineGainDb(first, 1000.0, 44100), 12.0, 0.01);

    configure(second, gains({{3, -1.0}}, 0));  // a block on the other applies to both
    EXPECT_NEAR(sineGainDb(first, 1000.0, 44100), -12.0, 0.01);
}

TEST(EqualizerProcess, DisabledUnknownRateOddTailAndCapacity) {
    EqualizerFilter f;
    const std::vector<double> x = {0.25, -0.0, 1e-310, 3.5,
                                   std::numeric_limits<double>::quiet_NaN()};
    configure(f, gains({{0, 1.0}}, 0));
    for (int rate : kRates) EXPECT_TRUE(testutil::sameBits(runBlock(f, x, rate), x)) << rate;
    configure(f, gains({{3, 1.0}}));
    EXPECT_TRUE(testutil::sameBits(runBlock(f, x, 32000), x));
    const std::vector<double> y = runBlock(f, {0.5, 0.5, 0.25}, 44100);
    EXPECT_NE(y[0], 0.5);
    EXPECT_EQ(y[2], 0.25);
    testutil::expectCapacityChecked(f, 44100);
}

// The sections' exact arithmetic for fresh histories (each case runs in its
// own process): per band, w = x + (a1 d1 + a2 d2) and
// y = b0 w + (b1 d1 + b2 d2), with the step each gain selects.
TEST(EqualizerKernels, FollowTheSectionRecurrenceBitForBit) {
    const int steps[10] = {12, 0, 24, 18, 11, 12, 3, 20, 5, 22};
    Bytes b = gains({});
    for (int band = 0; band < 10; ++band) {
        const double g = std::fmin(1.0, (steps[band] - 12) / 12.0 + 0.01);
        std::memcpy(&b[8 + 8 * band], &g, 8);
    }
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
