#include <quorvex/SurroundFilter.h>

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "effects/common/RunBlock.h"
#include "support/ParamBlock.h"

using testing_filters::bytesOf;
using testutil::noise;

namespace {

constexpr unsigned long kId = 0x70535252;
constexpr int kSize = 112;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

SurroundConfigParams blockOf(SurroundFilter& f) {
    SurroundConfigParams p;
    EXPECT_EQ(f.getParamData(kId, &p, kSize), kSize);
    return p;
}

SurroundConfigParams enabledWith(SurroundFilter& f, int emode) {
    SurroundConfigParams p = blockOf(f);
    p.enabled = true;
    p.emode = emode;
    return p;
}

void configure(SurroundFilter& f, SurroundConfigParams p) {
    ASSERT_EQ(f.setParamData(kId, &p, kSize), kSize);
}

bool sameBytes(const SurroundConfigParams& a, const SurroundConfigParams& b) {
    return std::memcmp(&a, &b, kSize) == 0;
}

// Processes `x` in blocks of `blockFrames` frames.
std::vector<double> processInBlocks(SurroundFilter& f, const std::vector<double>& x, int rate,
                                    size_t blockFrames) {
    std::vector<double> y(x.size(), -123.0);
    for (size_t at = 0; at < x.size(); at += 2 * blockFrames) {
        const int n = static_cast<int>(std::min(2 * blockFrames, x.size() - at));
        RealAudioBuffer in(const_cast<double*>(x.data() + at), n, n, rate, 24);
        RealAudioBuffer out(y.data() + at, n, 0, 0, 0);
        if (f.process(&in, &out) != 0 || out.length != n || out.sampleRate != rate)
            ADD_FAILURE() << "process failed at " << at;
    }
    return y;
}

std::vector<double> run(SurroundFilter& f, const std::vector<double>& x, int rate = 44100) {
    return processInBlocks(f, x, rate, x.size() / 2 + 1);
}

std::vector<double> impulse(int frames, double left = 1.0, double right = 1.0) {
    std::vector<double> x(2 * static_cast<size_t>(frames), 0.0);
    x[0] = left;
    x[1] = right;
    return x;
}

double L(const std::vector<double>& y, int frame) { return y[2 * frame]; }
double R(const std::vector<double>& y, int frame) { return y[2 * frame + 1]; }

}  // namespace

TEST(SurroundParams, DefaultBlockAndChecks) {
    SurroundFilter f;
    const SurroundConfigParams defaults = {0x6D535235, false, {0, 0, 0}, 1, 4228, 3854, 2730,
                                           0.7, 0.8, 0.5, 0.5, 0.5, 0.5, 0.5, 0.5, 0.5, 0.7,
                                           0.3333};
    EXPECT_EQ(testing_filters::storedBlock(f, kId, kSize), bytesOf(defaults));
    EXPECT_STREQ(f.getName(), "Surround");
    const SurroundConfigParams p = enabledWith(f, 0x10);
    testing_filters::expectBlockChecks(f, kId, 0x70414C43, bytesOf(p));
    EXPECT_TRUE(sameBytes(blockOf(f), p));
}

// Hall lengths run from 17 to their maximum, gains from 0 to 1.
TEST(SurroundParams, LengthAndGainLimits) {
    SurroundFilter f;
    const SurroundConfigParams base = blockOf(f);
    const struct {
        int32_t SurroundConfigParams::*field;
        int32_t max;
    } lengths[] = {{&SurroundConfigParams::hall_m1, 8456},
                   {&SurroundConfigParams::hall_m2, 7708},
                   {&SurroundConfigParams::hall_m3, 5460}};
    // An accepted value is stored; a refused one leaves the block as it was.
    auto check = [&](auto field, auto value, bool ok) {
        SurroundConfigParams p = base;
        p.*field = value;
        const SurroundConfigParams before = blockOf(f);
        EXPECT_EQ(f.setParamData(kId, &p, kSize), ok ? kSize : -1) << value;
        if (ok) EXPECT_EQ(blockOf(f).*field, value);
        else EXPECT_TRUE(sameBytes(blockOf(f), before)) << value;
    };
    for (const auto& limit : lengths)
        for (int32_t m : {17, limit.max, 16, limit.max + 1, 0, -17})
            check(limit.field, m, m >= 17 && m <= limit.max);
    using Gain = double SurroundConfigParams::*;
    for (Gain gain : {&SurroundConfigParams::hall_ga1, &SurroundConfigParams::hall_ga2,
                      &SurroundConfigParams::egain_hall, &SurroundConfigParams::egain_natural,
                      &SurroundConfigParams::egain_wide, &SurroundConfigParams::egain_3d,
                      &SurroundConfigParams::egain_echo, &SurroundConfigParams::ga_live,
                      &SurroundConfigParams::gc_live, &SurroundConfigParams::ga_3d,
                      &SurroundConfigParams::gm_3d})
        for (double g : {0.0, 1.0, -0.0, 1.0000001, -0.1, kNaN, -HUGE_VAL})
            check(gain, g, g >= 0.0 && g <= 1.0);
}

// The mode and the enabled byte are not range checked; blocks are compared
// ignoring the reserved bytes and the sign of zero, so an equal block is
// not taken over.
TEST(SurroundParams, ModeUncheckedAndEqualBlocksNotStored) {
    SurroundFilter f;
    SurroundConfigParams p = blockOf(f);
    p.emode = -1;
    std::memset(&p.enabled, 0xFF, 1);
    EXPECT_TRUE(p.isValid());
    configure(f, p);
    EXPECT_TRUE(sameBytes(blockOf(f), p));

    SurroundConfigParams a = enabledWith(f, 0x3F);
    a.egain_3d = 0.0;
    configure(f, a);
    SurroundConfigParams b = a;
    b.egain_3d = -0.0;
    b.reserved[0] = 0x5A;
    EXPECT_TRUE(a.isEqual(b));
    configure(f, b);
    EXPECT_TRUE(sameBytes(blockOf(f), a));

    std::memset(&b.enabled, 2, 1);  // still on, but a different byte
    EXPECT_FALSE(a.isEqual(b));
    configure(f, b);
    EXPECT_TRUE(sameBytes(blockOf(f), b));
}

TEST(SurroundProcess, EchoImpulse) {
    for (int rate : {44100, 48000, 88200, 96000}) {
        SurroundFilter f;
        configure(f, enabledWith(f, 0x10));
        const int delay = rate < 80000 ? 2048 : 4096;
        const std::vector<double> y = run(f, impulse(2 * delay + 1), rate);
        EXPECT_EQ(L(y, 0), 0.925);
        EXPECT_EQ(R(y, 0), 0.925);
        EXPECT_EQ(L(y, delay), 0.48875);
        EXPECT_EQ(R(y, delay), 0.48875);
        EXPECT_EQ(L(y, 2 * delay), 0.5 * (0.15 + (0.15 * 0.15) * -0.15));
        for (int i = 1; i < delay; ++i) ASSERT_EQ(L(y, i), 0.0) << rate << " " << i;
    }
}

TEST(SurroundProcess, LiveStageIsSilentUntilItsShorterComb) {
    SurroundFilter f;
    configure(f, enabledWith(f, 0x04));
    std::vector<double> y = run(f, noise(2048), 48000);
    for (double v : y) ASSERT_EQ(v, 0.0);

    f.reset();
    y = run(f, impulse(2600), 48000);
    for (int i = 0; i < 2600; ++i) {
        EXPECT_EQ(R(y, i), i == 2048 ? 1.0 : 0.0) << i;
        EXPECT_EQ(L(y, i), i == 2512 ? 1.0 : 0.0) << i;
    }
}

TEST(SurroundProcess, ThreeDWithEqualChannelsAddsOnlyTheAllPass) {
    SurroundFilter f;
    SurroundConfigParams p = enabledWith(f, 0x20);
    p.ga_3d = 0.6;
    p.egain_3d = 0.75;
    configure(f, p);
    std::vector<double> x = noise(3000);
    for (size_t i = 0; i < x.size(); i += 2) x[i + 1] = x[i];
    const std::vector<double> y = run(f, x);

    static double line[1024][2];
    int position = 0;
    for (int i = 0; i < 3000; ++i) {
        double a = x[2 * i], b = x[2 * i + 1];
        allpass(&a, &b, 0.6, line, 1024, &position);
        ASSERT_EQ(L(y, i), x[2 * i] + 0.75 * a) << i;
        ASSERT_EQ(R(y, i), L(y, i));
    }
}

// With zero all-pass gains each hall pass is a pure delay. The two passes
// step the same positions, so each line serves both in turn and every delay
// is half its length in frames (the third line serves the first pass alone);
// at 44.1 kHz the lengths are halved first. Lengths 400, 600, 100: the second
// pass delays by 100 + 150 frames and the first by 100 + 150 + 50 at
// 44.1 kHz, and each by twice that at 88.2 kHz.
TEST(SurroundProcess, HallPassesShareTheirPositions) {
    SurroundFilter f;
    SurroundConfigParams p = enabledWith(f, 0x01);
    p.hall_ga1 = p.hall_ga2 = 0.0;
    p.hall_m1 = 400;
    p.hall_m2 = 600;
    p.hall_m3 = 100;
    configure(f, p);
    const double g = 0.35 * 0.5 + 0.25;
    std::vector<double> y = run(f, impulse(600, 1.0, 0.0), 44100);
    EXPECT_EQ(L(y, 0), 1.0);
    EXPECT_EQ(L(y, 250), g);
    EXPECT_EQ(L(y, 300), -g);
    EXPECT_EQ(R(y, 300), g);
    EXPECT_EQ(L(y, 299) + L(y, 301) + R(y, 250), 0.0);

    f.reset();
    y = run(f, impulse(700, 1.0, 0.0), 88200);
    EXPECT_EQ(L(y, 250) + L(y, 300), 0.0);
    EXPECT_EQ(L(y, 500), g);
    EXPECT_EQ(L(y, 600), -g);
    EXPECT_EQ(R(y, 600), g);
}

TEST(SurroundProcess, UnknownModeBitsAndNoStagePassThrough) {
    SurroundFilter f;
    const std::vector<double> x = noise(500);
    for (int emode : {0, 0x40, ~0x3F}) {
        configure(f, enabledWith(f, emode));
        for (int rate : {44100, 96000}) EXPECT_EQ(run(f, x, rate), x) << emode;
    }
    configure(f, enabledWith(f, 0x50));
    EXPECT_EQ(L(run(f, impulse(4)), 0), 0.925);  // the echo bit still counts
}

TEST(SurroundProcess, SplitBlocksMatchOneBlock) {
    // A child process starts from the same tone-shaping history as this one.
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    const std::vector<double> x = noise(200);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        SurroundFilter f;
        configure(f, enabledWith(f, 0x3F));
        const std::vector<double> y = processInBlocks(f, x, 44100, 100);
        const ssize_t bytes = static_cast<ssize_t>(y.size() * sizeof(double));
        _exit(write(fds[1], y.data(), y.size() * sizeof(double)) == bytes ? 0 : 1);
    }
    SurroundFilter f;
    configure(f, enabledWith(f, 0x3F));
    const std::vector<double> whole = run(f, x);
    std::vector<double> split(whole.size());
    const size_t bytes = split.size() * sizeof(double);
    ASSERT_EQ(read(fds[0], split.data(), bytes), static_cast<ssize_t>(bytes));
    int status = 0;
    waitpid(child, &status, 0);
    close(fds[0]);
    close(fds[1]);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(split, whole);
}

TEST(SurroundProcess, NaturalStageStartsWithTheToneShapedDrySignal) {
    SurroundFilter f;
    configure(f, enabledWith(f, 0x02));
    const std::vector<double> y = run(f, impulse(2, 0.5, -0.25));
    // The tone shaping starts from an empty history in a fresh process.
    const double gain = 1.00338 * 0.8954655 * 1.380013;
    EXPECT_EQ(L(y, 0), (0.75 * (0.5 * gain) + (0.0 - 0.0) * 0.1875) * 1.2);
    EXPECT_EQ(R(y, 0), (0.75 * (-0.25 * gain) + (0.0 - 0.0) * 0.1875) * 1.2);
}

TEST(SurroundLifecycle, EqualBlockKeepsTheEchoAndEnabledAloneClearsIt) {
    SurroundFilter f;
    const SurroundConfigParams echo = enabledWith(f, 0x10);
    configure(f, echo);
    run(f, impulse(1000));
    configure(f, echo);
    std::vector<double> y = run(f, std::vector<double>(2 * 1100, 0.0));
    EXPECT_EQ(L(y, 1048), 0.48875);

    SurroundConfigParams byteTwo = echo;
    std::memset(&byteTwo.enabled, 2, 1);
    run(f, impulse(1000));
    configure(f, byteTwo);
    y = run(f, std::vector<double>(2 * 1100, 0.0));
    for (double v : y) ASSERT_EQ(v, 0.0);
}

TEST(SurroundLifecycle, InstancesShareStagesButKeepTheirBlocksAndSwitches) {
    SurroundFilter a;
    const SurroundConfigParams echo = enabledWith(a, 0x10);
    configure(a, echo);
    SurroundFilter b;  // the shared stages fall back to the hall alone
    EXPECT_TRUE(sameBytes(blockOf(a), echo));
    const std::vector<double> x = impulse(300, 1.0, 0.25);
    const std::vector<double> hallFromA = run(a, x);
    EXPECT_EQ(run(b, x), x);  // b is still switched off

    SurroundConfigParams hall = blockOf(b);
    hall.enabled = true;
    configure(b, hall);
    EXPECT_EQ(run(b, x), hallFromA);

    a.reset();
    EXPECT_EQ(L(run(a, x), 0), 0.925);
}

TEST(SurroundLifecycle, InaudibleGainsOnlyClearTheHistory) {
    SurroundFilter f;
    SurroundConfigParams p = enabledWith(f, 0x3D);  // all but the tone-shaped stage
    configure(f, p);
    const std::vector<double> x = noise(3000);
    const std::vector<double> before = run(f, x);
    p.ga_live = 0.0;
    p.gm_3d = 1.0;
    configure(f, p);
    EXPECT_EQ(run(f, x), before);
}

// Capacity is checked before anything is written or enters the delay lines;
// other rates pass through and leave the lines alone.
TEST(SurroundProcess, CapacityOddBlocksAndOtherRates) {
    SurroundFilter f;
    configure(f, enabledWith(f, 0x10));
    testutil::expectCapacityChecked(f, 44100);
    f.reset();
    std::vector<double> x = impulse(3);
    x.push_back(0.75);
    std::vector<double> y(7, -1.0);
    RealAudioBuffer in(x.data(), 7, 7, 44100, 16);
    RealAudioBuffer tooSmall(y.data(), 6, 9, 1, 2);
    EXPECT_EQ(f.process(&in, &tooSmall), -1);
    RealAudioBuffer exact(y.data(), 7, 0, 0, 0);
    EXPECT_EQ(f.process(&in, &exact), 0);
    EXPECT_EQ(y[0], 0.925);
    EXPECT_EQ(y[6], -1.0);  // the unpaired double is not written

    const std::vector<double> n = noise(300);
    EXPECT_EQ(run(f, n, 32000), n);
    EXPECT_EQ(run(f, n, 0), n);
    y = run(f, std::vector<double>(2 * 2100, 0.0));
    EXPECT_EQ(L(y, 2048 - 3), 0.48875);
}

TEST(SurroundKernels, AllPassStepAndWrap) {
    double line[4][2] = {};
    int position = 0;
    double l = 1.0, r = -2.0;
    allpass(&l, &r, 0.5, line, 2, &position);
    EXPECT_EQ(l, -0.5);
    EXPECT_EQ(r, 1.0);
    EXPECT_EQ(line[0][0], 1.0);
    EXPECT_EQ(line[0][1], -2.0);
    EXPECT_EQ(position, 1);
    allpass(&l, &r, 0.5, line, 2, &position);
    EXPECT_EQ(position, 0);
    l = r = 0.0;
    allpass(&l, &r, 0.5, line, 2, &position);
    EXPECT_EQ(l, 1.0 + (0.5 * 1.0) * -0.5);
    EXPECT_EQ(r, -2.0 + -0.5 * (0.5 * -2.0));

    // A position left beyond a shorter length by another user is used once.
    position = 3;
    l = 4.0;
    allpass(&l, &r, 0.5, line, 2, &position);
    EXPECT_EQ(line[3][0], 4.0);
    EXPECT_EQ(position, 0);
}
