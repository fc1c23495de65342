#include <quorvex/HPEQFilter.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "effects/common/RunBlock.h"
#include "support/ParamBlock.h"

using testing_filters::bytesOf;
using testing_filters::storedBlock;
using testutil::runBlock;

namespace {

constexpr unsigned long kId = 0x70504143;
using Set = PhoneAdaptationConfigParams::CoefficientSet;
constexpr Set kIdentity = {0, 0, 0, 1, 0, 0};

PhoneAdaptationConfigParams record(const Set& first, const Set& second = kIdentity,
                                   const Set& third = kIdentity, unsigned char enabled = 1) {
    PhoneAdaptationConfigParams p{};
    p.magic = 0x6D504131;
    p.enabled = enabled;
    p.section[0] = first;
    p.section[1] = second;
    p.section[2] = third;
    return p;
}

int set(HPEQFilter& f, const PhoneAdaptationConfigParams& p) {
    return f.setParamData(kId, &p, sizeof p);
}

}  // namespace

// Every coefficient runs from -1000 to 1000; the padding is stored as given.
TEST(HPEQFilter, ParameterBlockBoundaries) {
    HPEQFilter f;
    EXPECT_EQ(storedBlock(f, kId, 152), bytesOf(record(kIdentity, kIdentity, kIdentity, 0)));
    PhoneAdaptationConfigParams kept = record({0, 0, 0, 0.5, 0, 0});
    kept.padding[1] = 0x42;
    testing_filters::expectBlockChecks(f, kId, 0x70554143, bytesOf(kept));
    for (int i = 0; i < 18; ++i) {
        for (double v :
             {1000.0, -1000.0, 1000.5, -1000.5, std::numeric_limits<double>::quiet_NaN()}) {
            PhoneAdaptationConfigParams p = kept;
            (&p.section[i / 6].a0)[i % 6] = v;
            EXPECT_EQ(set(f, p), std::fabs(v) <= 1000.0 ? 152 : -1) << i << " " << v;
        }
        ASSERT_EQ(set(f, kept), 152);
    }
    EXPECT_EQ(storedBlock(f, kId, 152), bytesOf(kept));
}

// Three sections in turn, per channel: xa = a1 d1 + a2 d2, xb = b1 d1 +
// b2 d2, y = (x + xa) b0 + xb, d1 = x + xa, with a0 playing no part.
TEST(HPEQFilter, SectionRecurrence) {
    HPEQFilter f;
    const Set sets[3] = {{-7, 1.2, -0.4, 0.7, 0.3, -0.2},
                         {999, -0.6, -0.3, 1.3, -0.9, 0.45},
                         {-1000, 0.1, 0.05, 0.9, 0.11, 0.02}};
    ASSERT_EQ(set(f, record(sets[0], sets[1], sets[2])), 152);
    const std::vector<double> x = testutil::noise(400);
    const std::vector<double> y = runBlock(f, x, 88200);
    double d[3][2][2] = {};
    for (size_t i = 0; i < x.size(); ++i) {
        double v = x[i];
        for (int k = 0; k < 3; ++k) {
            double* h = d[k][i % 2];
            const double xa = sets[k].a1 * h[0] + sets[k].a2 * h[1];
            const double xb = sets[k].b1 * h[0] + sets[k].b2 * h[1];
            h[1] = h[0];
            h[0] = v + xa;
            v = (v + xa) * sets[k].b0 + xb;
        }
        ASSERT_EQ(y[i], v) << i;
    }
}

// An impulse through one half-feedback section gives 1, 0.5, 0.25. The
// coefficients are shared: the last construction (identity), reset (its own
// block) or accepted block decides for all. Low rates and a disabled filter
// pass bit for bit.
TEST(HPEQFilter, ImpulseSharedStateDisabledAndCapacity) {
    HPEQFilter first;
    ASSERT_EQ(set(first, record({0, 0.5, 0, 1, 0, 0})), 152);
    EXPECT_EQ(runBlock(first, {1, 0, 0, 0, 0, 0}, 96000),
              (std::vector<double>{1, 0, 0.5, 0, 0.25, 0}));
    ASSERT_EQ(set(first, record({0, 0, 0, 0.5, 0, 0})), 152);
    EXPECT_EQ(runBlock(first, {1.0, 1.0}, 96000), (std::vector<double>{0.5, 0.5}));
    HPEQFilter second;
    EXPECT_EQ(runBlock(first, {1.0, 1.0}, 96000), (std::vector<double>{1.0, 1.0}));
    first.reset();
    EXPECT_EQ(runBlock(first, {1.0, 1.0}, 96000), (std::vector<double>{0.5, 0.5}));
    ASSERT_EQ(set(second, record({0, 0, 0, 0.25, 0, 0}, kIdentity, kIdentity, 0)), 152);
    EXPECT_EQ(runBlock(first, {1.0, 1.0}, 96000), (std::vector<double>{0.25, 0.25}));

    const std::vector<double> x = {3.0, -2.0, 0.75, 1e-300, -0.0, 9.0, 0.5};
    for (int rate : {44100, 48000, 32000})
        EXPECT_TRUE(testutil::sameBits(runBlock(first, x, rate), x));
    EXPECT_TRUE(testutil::sameBits(runBlock(second, x, 96000), x));
    testutil::expectCapacityChecked(first, 96000);
}
