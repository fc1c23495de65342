#include <quorvex/ALCFilter.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "support/ParamBlock.h"
#include "support/RunBlock.h"

namespace alc_block = quorvex::alc_block;
using testutil::Bytes;
using testutil::storedBlock;
using testutil::withField;

namespace {

constexpr unsigned long kId = alc_block::kId;
constexpr int kSize = alc_block::kSize;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
using Blocks = std::vector<std::vector<double>>;

Bytes block(int32_t mode, double recovery = alc_block::kDefaultRecovery,
            unsigned char enabled = 1) {
    const Bytes b = testutil::effectBlock(alc_block::kMagic, kSize, enabled);
    return withField(withField(b, alc_block::kMode, mode), alc_block::kRecovery, recovery);
}

void configure(ALCFilter& f, const Bytes& b) {
    ASSERT_EQ(f.setParamData(kId, b.data(), kSize), kSize);
}

std::vector<double> run(ALCFilter& f, const std::vector<double>& x) {
    return testutil::runBlock(f, x, 44100);
}

// Blocks in turn through a freshly configured filter; NaN matches NaN.
void expectBlocks(int32_t mode, double recovery, const Blocks& in, const Blocks& out) {
    ALCFilter f;
    configure(f, block(mode, recovery));
    for (size_t b = 0; b < in.size(); ++b) {
        const std::vector<double> y = run(f, in[b]);
        for (size_t i = 0; i < y.size(); ++i) {
            if (std::isnan(y[i]) && std::isnan(out[b][i])) continue;
            EXPECT_EQ(y[i], out[b][i]) << mode << " " << recovery << " " << b << " " << i;
        }
    }
}

}  // namespace

TEST(ALCFilter, ParameterBlockBoundaries) {
    ALCFilter f;
    EXPECT_EQ(storedBlock(f, kId, kSize), block(2, 1.52587890625e-07));
    EXPECT_STREQ(f.getName(), "ALC");
    testutil::expectBlockChecks(f, kId, quorvex::equalizer_block::kId, block(1, 0.5));
    configure(f, block(1));
    run(f, {2.0, 0.0});  // gain falls to 0.5
    const Bytes kept = storedBlock(f, kId, kSize);
    const struct {
        int32_t mode;
        double recovery;
    } refused[] = {{0, 0.5}, {3, 0.5}, {-1, 0.5}, {2, -0.1}, {2, 1.5}, {2, kNaN}, {2, -1e-300}};
    for (const auto& r : refused)
        EXPECT_EQ(f.setParamData(kId, block(r.mode, r.recovery).data(), kSize), -1) << r.mode;
    EXPECT_EQ(storedBlock(f, kId, kSize), kept);
    EXPECT_EQ(run(f, {0.5, 0.5}), (std::vector<double>{0.25, 0.25}));  // mode 1, gain 0.5 kept
    for (double r : {0.0, 1.0}) EXPECT_EQ(f.setParamData(kId, block(1, r).data(), kSize), kSize);
}

// Linked (2): the louder channel of a frame lands on full scale and the gain
// stays for later frames; after each block it recovers by the rate times the
// block's doubles (an unpaired last double counts but is not written),
// overshooting once before it is pinned to one. Per sample (1): the gain only
// falls; full scale and NaN do not move it, infinity drops it to zero.
TEST(ALCFilter, DocumentedExamples) {
    expectBlocks(2, 0.01, {{0.5, 0.5, 4.0, 0.0}, {0.5, 0.5}},
                 {{0.5, 0.5, 1.0, 0.0}, {0.5 * (0.25 + 4 * 0.01), 0.5 * (0.25 + 4 * 0.01)}});
    expectBlocks(2, 0.01, {{2.0, 0.5, 0.5, -4.0}}, {{1.0, 0.25, 0.125, -1.0}});
    expectBlocks(2, 0.01, {{2.0, 0.0, 0.5, 0.5, 3.0}, {0.5, 0.5}},
                 {{1.0, 0.0, 0.25, 0.25, testutil::kSentinel},
                  {0.5 * (0.5 + 5 * 0.01), 0.5 * (0.5 + 5 * 0.01)}});
    expectBlocks(2, 0.0, {{8.0, 0.0}, {0.5, 0.5, 0.5, 0.5}},
                 {{1.0, 0.0}, {0.0625, 0.0625, 0.0625, 0.0625}});
    const double peak = 1.0 / 0.9999, overshoot = 1.0 / peak + 4 * 1e-4;
    expectBlocks(
        2, 1e-4, {{peak, 0.0, 0.0, 0.0}, {0.5, 0.5}, {0.5, 0.5}},
        {{peak * (1.0 / peak), 0.0, 0.0, 0.0}, {0.5 * overshoot, 0.5 * overshoot}, {0.5, 0.5}});

    expectBlocks(1, 0.01, {{0.5, 2.0}, {0.5, 1.0}, {0.5, 0.5}},
                 {{0.5, 1.0}, {0.25, 0.5}, {0.25, 0.25}});
    expectBlocks(1, 0.01, {{1.0, -1.0, kNaN, 0.5}}, {{1.0, -1.0, kNaN, 0.5}});
    expectBlocks(1, 0.01, {{INFINITY, 0.5}}, {{kNaN, 0.0}});
}

// Reset and a new block restore full gain; disabled passes bit for bit; a
// refused block neither writes nor lowers the gain.
TEST(ALCFilter, ResetDisabledAndCapacity) {
    ALCFilter f;
    configure(f, block(2, 0.0));
    run(f, {2.0, 0.0});
    f.reset();
    EXPECT_EQ(run(f, {0.5, 0.5})[0], 0.5);
    run(f, {2.0, 0.0});
    configure(f, block(2, 0.0));
    EXPECT_EQ(run(f, {0.5, 0.5})[0], 0.5);
    run(f, {2.0, 0.0});
    configure(f, block(2, 0.0, 0));
    const std::vector<double> x = {3.0, -7.5, 1e-310, -0.0};
    EXPECT_TRUE(testutil::sameBits(run(f, x), x));

    ALCFilter fresh;
    std::vector<double> loud = {4.0, 0.0, 0.5, 0.5}, out(3);
    RealAudioBuffer in(loud.data(), 4, 4, 44100, 16), shortOut(out.data(), 3, 0, 0, 0);
    EXPECT_EQ(fresh.process(&in, &shortOut), -1);
    EXPECT_EQ(run(fresh, {0.5, 0.5})[0], 0.5);
    testutil::expectCapacityChecked(fresh, 44100);
}
