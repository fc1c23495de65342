#include <quorvex/HPEQFilter.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "effects/common/RunBlock.h"

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

// Two silent frames through identity sections leave every history at zero,
// so a case does not depend on what ran before it.
void clearHistories(HPEQFilter& f) {
    ASSERT_EQ(set(f, record(kIdentity)), 152);
    runBlock(f, {0, 0, 0, 0}, 96000);
}

double* coefficient(PhoneAdaptationConfigParams& p, int i) {
    return &p.section[i / 6].a0 + i % 6;
}

}  // namespace

TEST(HPEQParams, DefaultRecordAndName) {
    HPEQFilter f;
    unsigned char b[160];
    std::memset(b, 0xEE, sizeof b);
    EXPECT_EQ(f.getParamData(kId, b, 160), 152);
    PhoneAdaptationConfigParams want = record(kIdentity, kIdentity, kIdentity, 0);
    EXPECT_EQ(std::memcmp(b, &want, 152), 0);
    EXPECT_EQ(b[152], 0xEE);
    EXPECT_STREQ(f.getName(), "HPEQ");
}

TEST(HPEQParams, IdentifierSizeNullAndMagicChecks) {
    HPEQFilter f;
    PhoneAdaptationConfigParams p = record({0, 0.5, 0, 1, 0, 0});
    EXPECT_EQ(f.setParamData(0x70554143, &p, 152), 0);
    EXPECT_EQ(f.getParamData(0x70554143, &p, 152), 0);
    EXPECT_EQ(f.setParamData(kId, &p, 151), -1);
    EXPECT_EQ(f.getParamData(kId, &p, 151), -1);
    EXPECT_EQ(f.setParamData(kId, nullptr, 152), -1);
    EXPECT_EQ(f.getParamData(kId, nullptr, 152), -1);
    p.magic ^= 0x100;
    EXPECT_EQ(set(f, p), -1);
    p.magic ^= 0x100;
    EXPECT_EQ(f.setParamData(kId, &p, -5), 152);  // size compared unsigned
    p.padding[1] = 0x42;
    EXPECT_EQ(set(f, p), 152);
    PhoneAdaptationConfigParams back{};
    EXPECT_EQ(f.getParamData(kId, &back, 152), 152);
    EXPECT_EQ(std::memcmp(&back, &p, 152), 0);
}

TEST(HPEQParams, EveryCoefficientIsRangeChecked) {
    HPEQFilter f;
    const PhoneAdaptationConfigParams kept = record({0, 0, 0, 0.5, 0, 0});
    ASSERT_EQ(set(f, kept), 152);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (int i = 0; i < 18; ++i) {
        for (double v : {1000.0, -1000.0}) {
            PhoneAdaptationConfigParams p = kept;
            *coefficient(p, i) = v;
            EXPECT_EQ(set(f, p), 152) << i << " " << v;
        }
        ASSERT_EQ(set(f, kept), 152);
        for (double v : {1000.5, -1000.5, nan}) {
            PhoneAdaptationConfigParams p = kept;
            *coefficient(p, i) = v;
            EXPECT_EQ(set(f, p), -1) << i << " " << v;
        }
    }
    PhoneAdaptationConfigParams back{};
    f.getParamData(kId, &back, 152);
    EXPECT_EQ(std::memcmp(&back, &kept, 152), 0);
    EXPECT_EQ(runBlock(f, {0.5, -0.25}, 96000), (std::vector<double>{0.25, -0.125}));
}

TEST(HPEQKernel, IdentitySectionsPassExactly) {
    HPEQFilter f;
    clearHistories(f);
    const std::vector<double> x = testutil::noise(500);
    EXPECT_EQ(runBlock(f, x, 96000), x);
    EXPECT_EQ(runBlock(f, x, 88200), x);
}

TEST(HPEQKernel, ImpulseDecaysByTheFeedbackAndA0IsIgnored) {
    HPEQFilter f;
    clearHistories(f);
    std::vector<double> impulse(16, 0.0);
    impulse[0] = 1.0;
    ASSERT_EQ(set(f, record({0, 0.5, 0, 1, 0, 0})), 152);
    const std::vector<double> y = runBlock(f, impulse, 96000);
    for (int n = 0; n < 8; ++n) {
        EXPECT_EQ(y[2 * n], std::ldexp(1.0, -n)) << n;
        EXPECT_EQ(y[2 * n + 1], 0.0) << n;
    }

    clearHistories(f);
    ASSERT_EQ(set(f, record({-7, 0.5, 0, 1, 0, 0}, {999, 0, 0, 1, 0, 0}, {-1000, 0, 0, 1, 0, 0})),
              152);
    EXPECT_EQ(runBlock(f, impulse, 96000), y);

    ASSERT_EQ(set(f, record({0, 0, 0, 0.5, 0, 0})), 152);
    EXPECT_EQ(runBlock(f, {0.5, -0.75}, 88200), (std::vector<double>{0.25, -0.375}));
}

// Each section: xa = a1 d1 + a2 d2, xb = b1 d1 + b2 d2, y = (x + xa) b0 + xb,
// then d1 = x + xa; spelled out here to pin the rounding of every step.
TEST(HPEQKernel, FollowsTheSectionRecurrenceBitForBit) {
    HPEQFilter f;
    clearHistories(f);
    const Set sets[3] = {{0, 1.2, -0.4, 0.7, 0.3, -0.2},
                         {0, -0.6, -0.3, 1.3, -0.9, 0.45},
                         {0, 0.1, 0.05, 0.9, 0.11, 0.02}};
    ASSERT_EQ(set(f, record(sets[0], sets[1], sets[2])), 152);
    const std::vector<double> x = testutil::noise(400);
    const std::vector<double> y = runBlock(f, x, 96000);
    double d[3][2][2] = {};
    for (size_t i = 0; i < x.size(); ++i) {
        double v = x[i];
        const int ch = static_cast<int>(i % 2);
        for (int k = 0; k < 3; ++k) {
            double* h = d[k][ch];
            const double xa = sets[k].a1 * h[0] + sets[k].a2 * h[1];
            const double xb = sets[k].b1 * h[0] + sets[k].b2 * h[1];
            h[1] = h[0];
            h[0] = v + xa;
            v = (v + xa) * sets[k].b0 + xb;
        }
        ASSERT_EQ(y[i], v) << i;
    }
}

TEST(HPEQProcess, LowRatesPassWithoutTouchingTheHistories) {
    HPEQFilter f;
    clearHistories(f);
    ASSERT_EQ(set(f, record({0, 0.5, 0, 1, 0, 0})), 152);
    EXPECT_EQ(runBlock(f, {1.0, 0.0}, 96000), (std::vector<double>{1.0, 0.0}));
    const std::vector<double> x = {3.0, -2.0, 0.75, 1e-300, -0.0, 9.0};
    for (int rate : {44100, 48000, 32000}) EXPECT_TRUE(testutil::sameBits(runBlock(f, x, rate), x));
    EXPECT_EQ(runBlock(f, {0.0, 0.0, 0.0, 0.0}, 96000), (std::vector<double>{0.5, 0, 0.25, 0}));
}

TEST(HPEQProcess, DisabledFreezesTheHistoriesAndOddTailPasses) {
    HPEQFilter f;
    clearHistories(f);
    ASSERT_EQ(set(f, record({0, 0.5, 0, 1, 0, 0})), 152);
    runBlock(f, {1.0, 0.0}, 88200);
    ASSERT_EQ(set(f, record({0, 0.5, 0, 1, 0, 0}, kIdentity, kIdentity, 0)), 152);
    const std::vector<double> x = {7.0, 7.0};
    EXPECT_TRUE(testutil::sameBits(runBlock(f, x, 96000), x));
    ASSERT_EQ(set(f, record({0, 0.5, 0, 1, 0, 0})), 152);
    EXPECT_EQ(runBlock(f, {0.0, 0.0, 0.125}, 88200), (std::vector<double>{0.5, 0.0, 0.125}));
}

TEST(HPEQProcess, CapacityIsCheckedBeforeAnythingIsWritten) {
    HPEQFilter f;
    ASSERT_EQ(set(f, record({0, 0, 0, 2, 0, 0})), 152);
    testutil::expectCapacityChecked(f, 96000);
}

TEST(HPEQSharedState, LastConstructionOrResetDecidesForAll) {
    HPEQFilter first;
    PhoneAdaptationConfigParams halve = record({0, 0, 0, 0.5, 0, 0});
    ASSERT_EQ(set(first, halve), 152);
    EXPECT_EQ(runBlock(first, {1.0, 1.0}, 96000), (std::vector<double>{0.5, 0.5}));

    HPEQFilter second;
    EXPECT_EQ(runBlock(first, {1.0, 1.0}, 96000), (std::vector<double>{1.0, 1.0}));
    PhoneAdaptationConfigParams back{};
    first.getParamData(kId, &back, 152);
    EXPECT_EQ(std::memcmp(&back, &halve, 152), 0);

    first.reset();
    EXPECT_EQ(runBlock(first, {1.0, 1.0}, 96000), (std::vector<double>{0.5, 0.5}));
    ASSERT_EQ(set(second, record({0, 0, 0, 0.25, 0, 0}, kIdentity, kIdentity, 0)), 152);
    EXPECT_EQ(runBlock(first, {1.0, 1.0}, 96000), (std::vector<double>{0.25, 0.25}));

    HPEQInit(record({0, 0, 0, 4, 0, 0}));  // the kernel's coefficients, set directly
    double l, r;
    HPEQ_3F(0.5, -0.5, &l, &r);
    EXPECT_EQ(l, 2.0);
    EXPECT_EQ(r, -2.0);
}
