// The headphone equalizer runs three coefficient sets in turn on both
// channels, the personalizer one set per channel; both blocks are a magic,
// an enabled byte, three padding bytes and the sets' doubles.
#include <quorvex/HPEQFilter.h>
#include <quorvex/PersonalizeFilter.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <tuple>
#include <vector>

#include "support/ParamBlock.h"
#include "support/RunBlock.h"
#include "support/Signals.h"

namespace hpeq_block = quorvex::hpeq_block;
namespace personalizer_block = quorvex::personalizer_block;
using testutil::Bytes;
using testutil::runBlock;
using testutil::storedBlock;

namespace {

struct Set {
    double a0, a1, a2, b0, b1, b2;
};
static_assert(sizeof(Set) == quorvex::coefficient_set::kSize);
constexpr Set kIdentity = {0, 0, 0, 1, 0, 0};
constexpr Set kTwice = {0, 0, 0, 2, 0, 0};
constexpr unsigned long kHpeq = hpeq_block::kId, kPersonalizer = personalizer_block::kId;

// Where each filter's sets lie; the sets run on to the end of the block.
struct Layout {
    uint32_t magic;
    int size, firstSet;
};
constexpr Layout kHpeqLayout = {hpeq_block::kMagic, hpeq_block::kSize,
                                hpeq_block::sectionOffset(0)};
constexpr Layout kPersonalizerLayout = {personalizer_block::kMagic, personalizer_block::kSize,
                                        personalizer_block::kLeft};

const Layout& layoutOf(unsigned long id) { return id == kHpeq ? kHpeqLayout : kPersonalizerLayout; }

Bytes block(unsigned long id, std::vector<Set> sets, unsigned char enabled = 1) {
    const Layout& layout = layoutOf(id);
    Bytes b = testutil::effectBlock(layout.magic, layout.size, enabled);
    sets.resize((layout.size - layout.firstSet) / sizeof(Set), kIdentity);
    std::memcpy(&b[layout.firstSet], sets.data(), sizeof(Set) * sets.size());
    return b;
}

int set(RealAudioFilter& f, unsigned long id, const Bytes& b) {
    return f.setParamData(id, b.data(), static_cast<int>(b.size()));
}

// xa = a1 d1 + a2 d2, xb = b1 d1 + b2 d2, y = (x + xa) b0 + xb, d1 = x + xa;
// a0 plays no part.
double section(double x, const Set& s, double* d) {
    const double xa = s.a1 * d[0] + s.a2 * d[1];
    const double xb = s.b1 * d[0] + s.b2 * d[1];
    d[1] = d[0];
    d[0] = x + xa;
    return (x + xa) * s.b0 + xb;
}

}  // namespace

// Every coefficient runs from -1000 to 1000; padding is stored as given.
TEST(SectionFilters, ParameterBlockBoundaries) {
    HPEQFilter hpeq;
    PersonalizeFilter personalizer;
    for (auto [f, id, other] :
         {std::tuple<RealAudioFilter*, unsigned long, unsigned long>{&hpeq, kHpeq, kPersonalizer},
          {&personalizer, kPersonalizer, kHpeq}}) {
        const Bytes defaults = block(id, {}, 0);
        EXPECT_EQ(storedBlock(*f, id, static_cast<int>(defaults.size())), defaults);
        Bytes kept = block(id, {kTwice});
        kept[quorvex::kEnabledOffset + 2] = 0x42;  // padding
        testutil::expectBlockChecks(*f, id, other, kept);
        for (int at = layoutOf(id).firstSet; at < static_cast<int>(kept.size());
             at += static_cast<int>(sizeof(double))) {
            for (double v : {1000.0, -1000.0, 1000.001, -1000.5, std::nan("")}) {
                const Bytes b = testutil::withField(kept, at, v);
                EXPECT_EQ(set(*f, id, b), std::fabs(v) <= 1000.0 ? int(b.size()) : -1) << at << v;
            }
            ASSERT_EQ(set(*f, id, kept), static_cast<int>(kept.size()));
        }
        EXPECT_EQ(storedBlock(*f, id, static_cast<int>(kept.size())), kept);
    }
}

TEST(SectionFilters, FollowTheSectionRecurrenceBitForBit) {
    const Set sets[3] = {{-7, 1.2, -0.4, 0.7, 0.3, -0.2},
                         {999, -0.6, -0.3, 1.3, -0.9, 0.45},
                         {-1000, 0.1, 0.05, 0.9, 0.11, 0.02}};
    HPEQFilter hpeq;
    PersonalizeFilter personalizer;
    ASSERT_EQ(set(hpeq, kHpeq, block(kHpeq, {sets[0], sets[1], sets[2]})), hpeq_block::kSize);
    ASSERT_EQ(set(personalizer, kPersonalizer, block(kPersonalizer, {sets[0], sets[1]})),
              personalizer_block::kSize);
    const std::vector<double> x = testutil::noise(400);
    const std::vector<double> y3 = runBlock(hpeq, x, 88200), y1 = runBlock(personalizer, x, 96000);
    double d3[3][2][2] = {}, d1[2][2] = {};
    for (size_t i = 0; i < x.size(); ++i) {
        double v = x[i];
        for (int k = 0; k < 3; ++k) v = section(v, sets[k], d3[k][i % 2]);
        ASSERT_EQ(y3[i], v) << i;
        ASSERT_EQ(y1[i], section(x[i], sets[i % 2], d1[i % 2])) << i;
    }
}

// An impulse through a half-feedback section gives 1, 0.5, 0.25. The
// coefficients are shared: the last construction (identity), reset (its own
// block) or accepted block decides for all. Low rates and a disabled filter
// pass bit for bit.
TEST(SectionFilters, ImpulseSharedStateDisabledAndCapacity) {
    HPEQFilter first;
    ASSERT_EQ(set(first, kHpeq, block(kHpeq, {{0, 0.5, 0, 1, 0, 0}})), hpeq_block::kSize);
    EXPECT_EQ(runBlock(first, {1, 0, 0, 0, 0, 0}, 96000),
              (std::vector<double>{1, 0, 0.5, 0, 0.25, 0}));
    ASSERT_EQ(set(first, kHpeq, block(kHpeq, {kTwice})), hpeq_block::kSize);
    EXPECT_EQ(runBlock(first, {1.0, 1.0}, 96000), (std::vector<double>{2.0, 2.0}));
    HPEQFilter second;
    EXPECT_EQ(runBlock(first, {1.0, 1.0}, 96000), (std::vector<double>{1.0, 1.0}));
    first.reset();
    EXPECT_EQ(runBlock(first, {1.0, 1.0}, 96000), (std::vector<double>{2.0, 2.0}));
    ASSERT_EQ(set(second, kHpeq, block(kHpeq, {{0, 0, 0, -1, 0, 0}}, 0)), hpeq_block::kSize);
    EXPECT_EQ(runBlock(first, {1.0, 1.0}, 96000), (std::vector<double>{-1.0, -1.0}));
    const std::vector<double> x = {3.0, -2.0, 0.75, 1e-300, -0.0, 9.0, 0.5};
    for (int rate : {44100, 48000, 32000})
        EXPECT_TRUE(testutil::sameBits(runBlock(first, x, rate), x));
    EXPECT_TRUE(testutil::sameBits(runBlock(second, x, 96000), x));
    testutil::expectCapacityChecked(first, 96000);

    PersonalizeFilter left;
    ASSERT_EQ(set(left, kPersonalizer, block(kPersonalizer, {kTwice})), personalizer_block::kSize);
    EXPECT_EQ(runBlock(left, {1.0, 1.0}, 88200), (std::vector<double>{2.0, 1.0}));
    PersonalizeFilter right;
    EXPECT_EQ(runBlock(left, {1.0, 1.0}, 88200), (std::vector<double>{1.0, 1.0}));
    left.reset();
    EXPECT_EQ(runBlock(left, {1.0, 1.0}, 88200), (std::vector<double>{2.0, 1.0}));
    ASSERT_EQ(set(right, kPersonalizer, block(kPersonalizer, {kIdentity, kTwice}, 0)),
              personalizer_block::kSize);
    EXPECT_EQ(runBlock(left, {1.0, 1.0}, 88200), (std::vector<double>{1.0, 2.0}));
    for (int rate : {44100, 48000}) EXPECT_TRUE(testutil::sameBits(runBlock(left, x, rate), x));
    EXPECT_TRUE(testutil::sameBits(runBlock(right, x, 96000), x));
    testutil::expectCapacityChecked(left, 88200);
}
