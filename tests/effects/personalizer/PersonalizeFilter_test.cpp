#include <quorvex/PersonalizeFilter.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "effects/common/RunBlock.h"
#include "support/ParamBlock.h"

using testing_filters::Bytes;
using testing_filters::storedBlock;
using testutil::runBlock;

namespace {

constexpr unsigned long kId = 0x70554143;

struct Set {
    double a0, a1, a2, b0, b1, b2;
};
constexpr Set kIdentity = {0, 0, 0, 1, 0, 0};

Bytes block(const Set& left, const Set& right, unsigned char enabled = 1) {
    Bytes b = {0x31, 0x61, 0x55, 0x6D, enabled, 0, 0, 0};
    b.resize(104);
    std::memcpy(&b[8], &left, 48);
    std::memcpy(&b[56], &right, 48);
    return b;
}

int set(PersonalizeFilter& f, const Bytes& b) { return f.setParamData(kId, b.data(), 104); }

}  // namespace

// Every coefficient runs from -1000 to 1000.
TEST(PersonalizeFilter, ParameterBlockBoundaries) {
    PersonalizeFilter f;
    EXPECT_EQ(storedBlock(f, kId, 104), block(kIdentity, kIdentity, 0));
    const Bytes kept = block({0, 0, 0, 2, 0, 0}, kIdentity);
    testing_filters::expectBlockChecks(f, kId, 0x70504143, kept);
    for (int i = 0; i < 12; ++i) {
        for (double v :
             {-1000.0, 1000.0, -1000.001, 1000.001, std::numeric_limits<double>::quiet_NaN()}) {
            Bytes b = kept;
            std::memcpy(&b[8 + 8 * i], &v, 8);
            EXPECT_EQ(set(f, b), std::fabs(v) <= 1000.0 ? 104 : -1) << i << " " << v;
        }
        ASSERT_EQ(set(f, kept), 104);
    }
    EXPECT_EQ(storedBlock(f, kId, 104), kept);
}

// Each channel has its own section: xa = a1 d1 + a2 d2, xb = b1 d1 + b2 d2,
// y = (x + xa) b0 + xb, d1 = x + xa; a0 plays no part.
TEST(PersonalizeFilter, SectionRecurrence) {
    PersonalizeFilter f;
    const Set sets[2] = {{-9, 1.1, -0.35, 0.8, 0.3, -0.2}, {123, -0.5, -0.2, 1.4, -0.7, 0.4}};
    ASSERT_EQ(set(f, block(sets[0], sets[1])), 104);
    const std::vector<double> x = testutil::noise(400);
    const std::vector<double> y = runBlock(f, x, 88200);
    double d[2][2] = {};
    for (size_t i = 0; i < x.size(); ++i) {
        const Set& s = sets[i % 2];
        double* h = d[i % 2];
        const double xa = s.a1 * h[0] + s.a2 * h[1];
        const double xb = s.b1 * h[0] + s.b2 * h[1];
        ASSERT_EQ(y[i], (x[i] + xa) * s.b0 + xb) << i;
        h[1] = h[0];
        h[0] = x[i] + xa;
    }
}

// The sections are shared: the last construction (identity), reset (its own
// block) or accepted block decides for all. Low rates and a disabled filter
// pass bit for bit.
TEST(PersonalizeFilter, SharedStateDisabledAndCapacity) {
    PersonalizeFilter first;
    ASSERT_EQ(set(first, block({0, 0, 0, 2, 0, 0}, kIdentity)), 104);
    EXPECT_EQ(runBlock(first, {1.0, 1.0}, 88200), (std::vector<double>{2.0, 1.0}));
    PersonalizeFilter second;
    EXPECT_EQ(runBlock(first, {1.0, 1.0}, 88200), (std::vector<double>{1.0, 1.0}));
    first.reset();
    EXPECT_EQ(runBlock(first, {1.0, 1.0}, 88200), (std::vector<double>{2.0, 1.0}));
    ASSERT_EQ(set(second, block(kIdentity, {0, 0, 0, -1, 0, 0}, 0)), 104);
    EXPECT_EQ(runBlock(first, {1.0, 1.0}, 88200), (std::vector<double>{1.0, -1.0}));

    const std::vector<double> x = {3.0, -2.0, -0.0, 1e-300, 5.0};
    for (int rate : {44100, 48000, 22050})
        EXPECT_TRUE(testutil::sameBits(runBlock(first, x, rate), x));
    EXPECT_TRUE(testutil::sameBits(runBlock(second, x, 96000), x));
    testutil::expectCapacityChecked(first, 88200);
}
