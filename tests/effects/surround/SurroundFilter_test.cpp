#include <quorvex/SurroundFilter.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <limits>
#include <vector>

#include "support/FreshProcess.h"
#include "support/ParamBlock.h"
#include "support/RunBlock.h"
#include "support/Signals.h"

namespace surround_block = quorvex::surround_block;
using testutil::Bytes;
using testutil::bytesOf;
using testutil::storedBlock;

namespace {

constexpr unsigned long kId = surround_block::kId;
constexpr int kSize = surround_block::kSize;
constexpr int32_t kAllStages = surround_block::kHall | surround_block::kNatural |
                               surround_block::kLive | surround_block::kWide |
                               surround_block::kEcho | surround_block::k3d;
constexpr SurroundConfigParams kDefaults = {surround_block::kMagic,
                                            false,
                                            {0, 0, 0},
                                            1,
                                            4228,
                                            3854,
                                            2730,
                                            0.7,
                                            0.8,
                                            0.5,
                                            0.5,
                                            0.5,
                                            0.5,
                                            0.5,
                                            0.5,
                                            0.5,
                                            0.7,
                                            0.3333};

void configure(SurroundFilter& f, int emode) {
    SurroundConfigParams p = kDefaults;
    p.enabled = true;
    p.emode = emode;
    ASSERT_EQ(f.setParamData(kId, &p, kSize), kSize);
}

// Processes `x` in blocks of `blockFrames` frames (all at once if 0).
std::vector<double> run(SurroundFilter& f, std::vector<double> x, int rate = 44100,
                        size_t blockFrames = 0) {
    const size_t step = blockFrames == 0 ? x.size() : 2 * blockFrames;
    std::vector<double> y(x.size());
    for (size_t at = 0; at < x.size(); at += step) {
        const int n = static_cast<int>(std::min(step, x.size() - at));
        RealAudioBuffer in(x.data() + at, n, n, rate, 24), out(y.data() + at, n, 0, 0, 0);
        EXPECT_EQ(f.process(&in, &out), 0);
        EXPECT_EQ(out.length, n);
    }
    return y;
}

std::vector<double> impulse(int frames, double left = 1.0, double right = 1.0) {
    std::vector<double> x(2 * static_cast<size_t>(frames), 0.0);
    x[0] = left;
    x[1] = right;
    return x;
}

}  // namespace

// Hall lengths run from 17 to their maximum, the eleven gains from 0 to 1; a
// refused value leaves the block as it was.
TEST(SurroundFilter, ParameterBlockBoundaries) {
    SurroundFilter f;
    const Bytes base = bytesOf(kDefaults);
    EXPECT_EQ(storedBlock(f, kId, kSize), base);
    Bytes echo = base;
    echo[quorvex::kEnabledOffset] = 1;
    testutil::expectBlockChecks(f, kId, quorvex::alc_block::kId, echo);
    auto check = [&](size_t at, const void* value, size_t size, bool ok) {
        Bytes b = base;
        std::memcpy(&b[at], value, size);
        EXPECT_EQ(f.setParamData(kId, b.data(), kSize), ok ? kSize : -1) << at;
        EXPECT_EQ(storedBlock(f, kId, kSize), ok ? b : echo) << at;
        ASSERT_EQ(f.setParamData(kId, echo.data(), kSize), kSize);
    };
    const int32_t maxLength[3] = {surround_block::kHallM1Max, surround_block::kHallM2Max,
                                  surround_block::kHallM3Max};
    const int32_t minLength = surround_block::kHallLengthMin;
    for (size_t k = 0; k < 3; ++k)
        for (int32_t m : {minLength, maxLength[k], minLength - 1, maxLength[k] + 1, -minLength})
            check(offsetof(SurroundConfigParams, hall_m1) + sizeof m * k, &m, sizeof m,
                  m >= minLength && m <= maxLength[k]);
    for (size_t k = 0; k < 11; ++k)
        for (double g : {0.0, 1.0, 1.0000001, -0.1, std::numeric_limits<double>::quiet_NaN()})
            check(offsetof(SurroundConfigParams, hall_ga1) + sizeof g * k, &g, sizeof g,
                  g >= 0.0 && g <= 1.0);
}

TEST(SurroundFilter, EchoImpulse) {
    for (int rate : {44100, 48000, 88200, 96000}) {
        SurroundFilter f;
        configure(f, surround_block::kEcho);
        const int delay = rate < 80000 ? 2048 : 4096;
        const std::vector<double> y = run(f, impulse(2 * delay + 1), rate);
        EXPECT_EQ(y[0], 0.925);
        EXPECT_EQ(y[1], 0.925);
        EXPECT_EQ(y[2 * delay], 0.48875);
        EXPECT_EQ(y[2 * delay + 1], 0.48875);
        EXPECT_EQ(y[4 * delay], 0.5 * (0.15 + (0.15 * 0.15) * -0.15));
        for (int i = 2; i < 2 * delay; ++i) ASSERT_EQ(y[i], 0.0) << rate << " " << i;
    }
}

// The live stage is silent until its combs: right at 2048 frames, left at 2512.
TEST(SurroundFilter, LiveStageOnset) {
    SurroundFilter f;
    configure(f, surround_block::kLive);
    const std::vector<double> y = run(f, impulse(2600), 48000);
    for (int i = 0; i < 2600; ++i) {
        EXPECT_EQ(y[2 * i + 1], i == 2048 ? 1.0 : 0.0) << i;
        EXPECT_EQ(y[2 * i], i == 2512 ? 1.0 : 0.0) << i;
    }
}

// The child process starts from the same tone-shaping history as this one.
TEST(SurroundFilter, TwoBlocksOfOneHundredFramesEqualOneOfTwoHundred) {
    const std::vector<double> x = testutil::noise(200);
    SurroundFilter f;
    configure(f, kAllStages);
    const std::vector<double> split =
        testutil::inFreshProcess<double>([&] { return run(f, x, 44100, 100); });
    EXPECT_EQ(split, run(f, x));
}

// The tone shaping's first output is the product of its section gains; its
// history survives the surround's construction and reset.
TEST(SurroundFilter, ToneShapingHistoryOutlivesReset) {
    double l, r;
    booster_48k(1.0, -0.5, &l, &r);
    EXPECT_EQ(l, 1.0 * 1.00338 * 0.8954655 * 1.380013);
    EXPECT_EQ(r, -0.5 * 1.00338 * 0.8954655 * 1.380013);
    SurroundFilter filter;
    filter.reset();
    booster_48k(0.0, 0.0, &l, &r);
    EXPECT_NE(l, 0.0);
}

// The stages are shared: a new instance leaves the hall alone for all, while
// each keeps its own block and switch; a disabled one passes bit for bit.
TEST(SurroundFilter, SharedStagesDisabledAndCapacity) {
    SurroundFilter a;
    configure(a, surround_block::kEcho);
    const Bytes echo = storedBlock(a, kId, kSize);
    SurroundFilter b;
    EXPECT_EQ(storedBlock(a, kId, kSize), echo);
    const std::vector<double> x = impulse(300, 1.0, 0.25);
    const std::vector<double> hallFromA = run(a, x);
    EXPECT_TRUE(testutil::sameBits(run(b, x), x));
    configure(b, surround_block::kHall);
    EXPECT_EQ(run(b, x), hallFromA);
    a.reset();
    EXPECT_EQ(run(a, x)[0], 0.925);
    testutil::expectCapacityChecked(a, 44100);
}
