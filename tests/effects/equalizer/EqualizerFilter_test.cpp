#include <eqgen/EqTableGen.h>
#include <quorvex/EqualizerFilter.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "effects/equalizer/EqualizerTables.h"
#include "support/BitHash.h"
#include "support/ParamBlock.h"
#include "support/RunBlock.h"
#include "support/Signals.h"

namespace equalizer_block = quorvex::equalizer_block;
using testutil::Bytes;
using testutil::runBlock;
using testutil::storedBlock;

namespace {

constexpr unsigned long kId = equalizer_block::kId;
constexpr int kSize = equalizer_block::kSize;

Bytes gains(std::vector<double> bandGains, unsigned char enabled = 1) {
    Bytes b = testutil::effectBlock(equalizer_block::kMagic, kSize, enabled);
    bandGains.resize(equalizer_block::kBands, 0.0);
    std::memcpy(&b[equalizer_block::gainOffset(0)], bandGains.data(),
                bandGains.size() * sizeof(double));
    return b;
}

void configure(EqualizerFilter& f, const Bytes& b) {
    ASSERT_EQ(f.setParamData(kId, b.data(), kSize), kSize);
}

// Level change in dB of a 1 kHz sine at 44.1 kHz once the sections have settled.
double gainAt1kHzDb(EqualizerFilter& f) {
    std::vector<double> x(2 * 26460);
    for (size_t i = 0; i < x.size(); ++i)
        x[i] = 0.5 * std::sin(2.0 * M_PI * 1000.0 * (i / 2) / 44100);
    const std::vector<double> y = runBlock(f, x, 44100);
    double inPower = 0.0, outPower = 0.0;
    for (size_t i = 44100; i < x.size(); ++i) {
        inPower += x[i] * x[i];
        outPower += y[i] * y[i];
    }
    return 10.0 * std::log10(outPower / inPower);
}

struct Table {
    int rate;
    const double *feedback, *feedForward;
    size_t size;
};
const Table kTables[] = {{44100, gEQ_Coeff44k_A, gEQ_Coeff44k_B, 525},
                         {48000, gEQ_Coeff48k_A, gEQ_Coeff48k_B, 525},
                         {88200, gEQ_Coeff88k_A, gEQ_Coeff88k_B, 750},
                         {96000, gEQ_Coeff96k_A, gEQ_Coeff96k_B, 750}};

}  // namespace

// The gains run from -1 to 1; the last three bytes are never written.
TEST(EqualizerFilter, ParameterBlockBoundaries) {
    EqualizerFilter f;
    Bytes expected = gains({}, 0);
    std::fill(expected.begin() + equalizer_block::kStoredBytes, expected.end(), 0xEE);
    EXPECT_EQ(storedBlock(f, kId, kSize), expected);
    testutil::expectBlockChecks(f, kId, quorvex::alc_block::kId, gains({0, 0, 0, 0.5}));
    configure(f, gains({1.0, 0, 0, 0, 0, 0, 0, 0, 0, -1.0}));
    const Bytes kept = storedBlock(f, kId, kSize);
    for (double g : {1.0000001, -1.0000001, std::numeric_limits<double>::quiet_NaN(), HUGE_VAL})
        for (int band : {0, 5, 9}) {
            const Bytes b = testutil::withField(gains({}), equalizer_block::gainOffset(band), g);
            EXPECT_EQ(f.setParamData(kId, b.data(), kSize), -1) << g << " " << band;
        }
    EXPECT_EQ(storedBlock(f, kId, kSize), kept);
}

TEST(EqualizerTables, MatchTheGeneratorAndPrintedValues) {
    for (const Table& t : kTables) {
        const eqgen::RateTables gen = eqgen::makeTables(t.rate);
        ASSERT_EQ(gen.feedback, std::vector<double>(t.feedback, t.feedback + t.size)) << t.rate;
        ASSERT_EQ(gen.feedForward, std::vector<double>(t.feedForward, t.feedForward + t.size));
    }
    const struct {
        int table, band, index;
        double b0, b1, b2, a1, a2;
    } rows[] = {{0, 3, 0, 0.931194, -1.79782, 0.885032, 1.79782, -0.816226},
                {2, 9, 24, 2.06374, -0.676619, -0.579143, -0.132551, 0.324577},
                {2, 8, 0, 0.992531, -1.97008, 0.977618, 1.96999, -0.970244},
                {3, 8, 17, 1.00283, -1.98302, 0.980332, 1.98305, -0.98313}};
    for (const auto& r : rows) {
        const Table& t = kTables[r.table];
        const int at = r.band * 75 + r.index;
        EXPECT_EQ(
            (std::vector<double>{t.feedForward[at], t.feedForward[at + 25], t.feedForward[at + 50],
                                 t.feedback[at + 25], t.feedback[at + 50]}),
            (std::vector<double>{r.b0, r.b1, r.b2, r.a1, r.a2}))
            << t.rate << " band " << r.band << " index " << r.index;
    }
}

// Each gain selects the 1 dB step below it (-0.04 -> 11, 0.04 -> 12, 1.0 ->
// 24); each band runs w = x + (a1 d1 + a2 d2), y = b0 w + (b1 d1 + b2 d2).
// Seven bands at the low rates, ten at the high ones; histories start empty.
TEST(EqualizerFilter, SectionsFollowTheRecurrenceAtTheSelectedSteps) {
    const std::vector<double> g = {-0.04, 0.04, 1.0, -1.0, 0.5, -0.5, 0.3, -0.3, 0.99, -0.99};
    const int steps[10] = {11, 12, 24, 0, 18, 6, 15, 8, 23, 0};
    EqualizerFilter f;
    configure(f, gains(g));
    const std::vector<double> x = testutil::noise(300);
    for (const Table& t : {kTables[0], kTables[2]}) {
        const std::vector<double> y = runBlock(f, x, t.rate);
        double d[2][10][2] = {};
        for (size_t i = 0; i < x.size(); ++i) {
            double v = x[i];
            for (size_t band = 0; band < t.size / 75; ++band) {
                const size_t at = 75 * band + static_cast<size_t>(steps[band]);
                double* s = d[i % 2][band];
                const double w = v + (t.feedback[at + 25] * s[0] + t.feedback[at + 50] * s[1]);
                v = t.feedForward[at] * w +
                    (t.feedForward[at + 25] * s[0] + t.feedForward[at + 50] * s[1]);
                s[1] = s[0];
                s[0] = w;
            }
            ASSERT_EQ(y[i], v) << t.rate << " " << i;
        }
    }
}

// Band 3 at +12 dB lifts 1 kHz by 12 dB. The sections are shared: the last
// construction (flat), reset (its own block) or block set decides for all.
// Disabled or at another rate the filter passes bit for bit.
TEST(EqualizerFilter, BandThreeLiftSharedSectionsAndPassThrough) {
    EqualizerFilter first;
    configure(first, gains({0, 0, 0, 1.0}));
    EXPECT_NEAR(gainAt1kHzDb(first), 12.0, 0.01);
    EqualizerFilter second;
    EXPECT_NEAR(gainAt1kHzDb(first), 0.0, 0.001);
    first.reset();
    EXPECT_NEAR(gainAt1kHzDb(first), 12.0, 0.01);
    configure(second, gains({0, 0, 0, -1.0}, 0));
    EXPECT_NEAR(gainAt1kHzDb(first), -12.0, 0.01);

    EqualizerFilter& f = first;
    const std::vector<double> x = {0.25, -0.0, 1e-310, 3.5,
                                   std::numeric_limits<double>::quiet_NaN()};
    configure(f, gains({1.0}, 0));
    for (int rate : {44100, 96000}) EXPECT_TRUE(testutil::sameBits(runBlock(f, x, rate), x));
    configure(f, gains({0, 0, 0, 1.0}));
    EXPECT_TRUE(testutil::sameBits(runBlock(f, x, 32000), x));
    testutil::expectCapacityChecked(f, 44100);
}

// A digest of every output bit of a long stream: blocks of random lengths (0,
// 1 and odd ones included) at every rate, some in place, through two
// equalizers whose gains, enabling and resets change in between, with the
// per-frame kernels run on the same histories now and then.
TEST(EqualizerFilter, LongStreamKeepsEveryOutputBit) {
    using Kernel = void (*)(double, double, double*, double*);
    const Kernel kernels[] = {equalizer_44k, equalizer_48k, equalizer_88k, equalizer_96k};
    const int rates[] = {44100, 48000, 88200, 96000};
    testutil::StreamDice dice(14);
    testutil::BitHash hash;
    EqualizerFilter filters[2];
    std::vector<double> x, y;
    for (int segment = 0; segment < 3000; ++segment) {
        EqualizerFilter& f = filters[dice.below(2)];
        if (dice.oneIn(10)) {
            std::vector<double> g(equalizer_block::kBands);
            for (double& v : g) v = dice.unit();
            configure(f, gains(g, dice.oneIn(8) ? 0 : 1));
        }
        if (dice.oneIn(16)) f.reset();
        if (dice.oneIn(12)) {
            const Kernel kernel = kernels[dice.below(4)];
            for (int n = dice.below(40); n > 0; --n) {
                // Drawn one by one: the order of a call's arguments is unspecified.
                const double inRight = dice.sample();
                const double inLeft = dice.sample();
                double left, right;
                kernel(inLeft, inRight, &left, &right);
                hash.add(left);
                hash.add(right);
            }
            continue;
        }
        const int rate = dice.oneIn(50) ? 32000 : rates[dice.below(4)];
        const int n = dice.blockDoubles();
        x.resize(static_cast<size_t>(n));
        y.assign(static_cast<size_t>(n) + 1, testutil::kSentinel);
        for (double& v : x) v = dice.sample();
        const bool inPlace = dice.oneIn(5);
        RealAudioBuffer in(x.data(), n, n, rate, 24);
        RealAudioBuffer out(inPlace ? x.data() : y.data(), n, 0, 0, 0);
        ASSERT_EQ(f.process(&in, &out), 0);
        ASSERT_EQ(y[static_cast<size_t>(n)], testutil::kSentinel);
        hash.addCount(out.length);
        hash.add(out.data, out.length);
    }
    EXPECT_EQ(hash.value(), 0xeb477c9204c461e3u) << std::hex << hash.value();
}
