#include <quorvex/PersonalizeFilter.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "effects/common/RunBlock.h"

using testutil::runBlock;

namespace {

constexpr unsigned long kId = 0x70554143;

struct Set {
    double a0, a1, a2, b0, b1, b2;
};
constexpr Set kIdentity = {0, 0, 0, 1, 0, 0};

struct Block {
    unsigned char bytes[104];
    void setCoefficient(int i, double v) { std::memcpy(bytes + 8 + 8 * i, &v, 8); }
};

Block block(const Set& left, const Set& right, unsigned char enabled = 1) {
    Block b{};
    const uint32_t magic = 0x6D556131;
    std::memcpy(b.bytes, &magic, 4);
    b.bytes[4] = enabled;
    std::memcpy(b.bytes + 8, &left, 48);
    std::memcpy(b.bytes + 56, &right, 48);
    return b;
}

int set(PersonalizeFilter& f, const Block& b) { return f.setParamData(kId, b.bytes, 104); }

// Two silent frames through identity sections leave both histories at zero.
void clearHistories(PersonalizeFilter& f) {
    ASSERT_EQ(set(f, block(kIdentity, kIdentity)), 104);
    runBlock(f, {0, 0, 0, 0}, 96000);
}

}  // namespace

TEST(PersonalizerParams, DefaultBlockAndName) {
    PersonalizeFilter f;
    unsigned char b[110];
    std::memset(b, 0xEE, sizeof b);
    EXPECT_EQ(f.getParamData(kId, b, 110), 104);
    EXPECT_EQ(std::memcmp(b, block(kIdentity, kIdentity, 0).bytes, 104), 0);
    EXPECT_EQ(b[104], 0xEE);
    EXPECT_STREQ(f.getName(), "Personalizer");
}

TEST(PersonalizerParams, ChecksAndRangeKeepEverything) {
    PersonalizeFilter f;
    const Block kept = block({0, 0, 0, 2, 0, 0}, kIdentity);
    ASSERT_EQ(set(f, kept), 104);
    Block b = kept;
    EXPECT_EQ(f.setParamData(0x70504143, b.bytes, 104), 0);
    EXPECT_EQ(f.getParamData(0x70504143, b.bytes, 104), 0);
    EXPECT_EQ(f.setParamData(kId, b.bytes, 103), -1);
    EXPECT_EQ(f.getParamData(kId, b.bytes, 103), -1);
    EXPECT_EQ(f.setParamData(kId, nullptr, 104), -1);
    EXPECT_EQ(f.getParamData(kId, nullptr, 104), -1);
    b.bytes[2] ^= 1;
    EXPECT_EQ(set(f, b), -1);

    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (int i = 0; i < 12; ++i) {
        Block edge = kept;
        edge.setCoefficient(i, i % 2 ? 1000.0 : -1000.0);
        EXPECT_EQ(set(f, edge), 104) << i;
        for (double v : {-1000.001, 1000.001, nan}) {
            Block bad = kept;
            bad.setCoefficient(i, v);
            EXPECT_EQ(set(f, bad), -1) << i << " " << v;
        }
    }
    ASSERT_EQ(set(f, kept), 104);
    EXPECT_EQ(f.setParamData(kId, block({0, 0, 0, nan, 0, 0}, kIdentity).bytes, -1), -1);
    Block back;
    EXPECT_EQ(f.getParamData(kId, back.bytes, 104), 104);
    EXPECT_EQ(std::memcmp(back.bytes, kept.bytes, 104), 0);
    EXPECT_EQ(runBlock(f, {0.25, 0.25}, 88200), (std::vector<double>{0.5, 0.25}));
}

TEST(PersonalizerKernel, EachChannelHasItsOwnSection) {
    PersonalizeFilter f;
    clearHistories(f);
    ASSERT_EQ(set(f, block({0, 0.5, 0, 1, 0, 0}, {123, 0, 0, 1, 0.25, 0})), 104);
    const std::vector<double> y = runBlock(f, {1, 1, 0, 0, 0, 0, 0, 0}, 96000);
    EXPECT_EQ(y, (std::vector<double>{1, 1, 0.5, 0.25, 0.25, 0, 0.125, 0}));
}

// xa = a1 d1 + a2 d2, xb = b1 d1 + b2 d2, y = (x + xa) b0 + xb, d1 = x + xa.
TEST(PersonalizerKernel, FollowsTheSectionRecurrenceBitForBit) {
    PersonalizeFilter f;
    clearHistories(f);
    const Set sets[2] = {{0, 1.1, -0.35, 0.8, 0.3, -0.2}, {0, -0.5, -0.2, 1.4, -0.7, 0.4}};
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

TEST(PersonalizerProcess, LowRatesDisabledAndOddTailPassUnchanged) {
    PersonalizeFilter f;
    clearHistories(f);
    ASSERT_EQ(set(f, block({0, 0.5, 0, 1, 0, 0}, kIdentity)), 104);
    runBlock(f, {1.0, 0.0}, 96000);
    const std::vector<double> x = {3.0, -2.0, -0.0, 1e-300, 5.0};
    for (int rate : {44100, 48000, 22050}) EXPECT_TRUE(testutil::sameBits(runBlock(f, x, rate), x));
    ASSERT_EQ(set(f, block({0, 0.5, 0, 1, 0, 0}, kIdentity, 0)), 104);
    EXPECT_TRUE(testutil::sameBits(runBlock(f, x, 96000), x));
    ASSERT_EQ(set(f, block({0, 0.5, 0, 1, 0, 0}, kIdentity)), 104);
    EXPECT_EQ(runBlock(f, {0.0, 0.0, -4.0}, 96000), (std::vector<double>{0.5, 0.0, -4.0}));
    testutil::expectCapacityChecked(f, 88200);
}

TEST(PersonalizerSharedState, LastConstructionOrResetDecidesForAll) {
    PersonalizeFilter first;
    const Block doubled = block({0, 0, 0, 2, 0, 0}, kIdentity);
    ASSERT_EQ(set(first, doubled), 104);
    EXPECT_EQ(runBlock(first, {1.0, 1.0}, 88200), (std::vector<double>{2.0, 1.0}));

    PersonalizeFilter second;
    EXPECT_EQ(runBlock(first, {1.0, 1.0}, 88200), (std::vector<double>{1.0, 1.0}));
    first.reset();
    EXPECT_EQ(runBlock(first, {1.0, 1.0}, 88200), (std::vector<double>{2.0, 1.0}));
    ASSERT_EQ(set(second, block(kIdentity, {0, 0, 0, -1, 0, 0}, 0)), 104);
    EXPECT_EQ(runBlock(first, {1.0, 1.0}, 88200), (std::vector<double>{1.0, -1.0}));
}
