#include "rate/velmo/VelmoSections.h"

#include <quorvex/Velmo.h>

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "rate/velmo/VelmoModel.h"
#include "rate/velmo/VelmoTables.h"

// Every case runs in a fresh process (CTest), where all history is zero.

namespace {

struct LineCase {
    const char* name;
    VelmoStereoStep step;
    std::vector<double> h;
};

template <std::size_t N>
std::vector<double> taps(const std::array<double, N>& h) {
    return std::vector<double>(h.begin(), h.end());
}

std::vector<LineCase> lines() {
    return {{"VelmoOffhf", VelmoOffhf, taps(sOff_hf)},
            {"VelmoCDlf", VelmoCDlf, taps(sVelmoCDlf)},
            {"VelmoCDhf32", VelmoCDhf32, taps(sVelmoCDhf32)},
            {"VelmoCDhf128", VelmoCDhf128, taps(sVelmoCDhf128)},
            {"VelmoMP3lf", VelmoMP3lf, taps(sVelmoMP3lf)},
            {"VelmoMP3hf32", VelmoMP3hf32, taps(sVelmoMP3hf32)},
            {"VelmoMP3hf128", VelmoMP3hf128, taps(sVelmoMP3hf128)},
            {"Velmohpf2", Velmohpf2, taps(sVelmohpf2)}};
}

struct SectionCase {
    const char* name;
    VelmoStereoStep step;
    VelmoBiquadCoeffs c;
};

std::vector<SectionCase> sections() {
    return {{"VelmoCDlpf2", VelmoCDlpf2, sVelmoLpf2},
            {"VelmoMP3lpf2", VelmoMP3lpf2, sVelmoLpf2},
            {"Velmo_Fine_44K_24", Velmo_Fine_44K_24, sVelmoFine44K},
            {"Velmo_Fine_44K_16", Velmo_Fine_44K_16, sVelmoFine44K},
            {"Velmo_Super_44K_24", Velmo_Super_44K_24, sVelmoSuper44K},
            {"Velmo_Super_44K_16", Velmo_Super_44K_16, sVelmoSuper44K},
            {"Velmo_Fine_48K_24", Velmo_Fine_48K_24, sVelmoFine48K24},
            {"Velmo_Fine_48K_16", Velmo_Fine_48K_16, sVelmoFine48K16},
            {"Velmo_Super_48K_24", Velmo_Super_48K_24, sVelmoSuper48K24},
            {"Velmo_Super_48K_16", Velmo_Super_48K_16, sVelmoSuper48K16}};
}

}  // namespace

TEST(VelmoFirStep, MatchesDirectConvolutionBitForBit) {
    double line[2 * 33] = {};
    velmo_model::Fir model(sVelmoCDhf32);
    const std::vector<double> x = velmo_model::noise(400, 7);
    for (std::size_t i = 0; i < x.size(); i += 2) {
        double l = x[i], r = x[i + 1];
        velmoFirStep(sVelmoCDhf32, line, l, r, &l, &r);  // outputs may alias the inputs' variables
        const velmo_model::Frame want = model.step({x[i], x[i + 1]});
        ASSERT_EQ(l, want.l) << i;
        ASSERT_EQ(r, want.r) << i;
    }
}

TEST(VelmoFirStep, EveryLineAnswersAnImpulseWithItsOwnTable) {
    for (const LineCase& c : lines()) {
        SCOPED_TRACE(c.name);
        for (std::size_t k = 0; k < c.h.size() + 2; ++k) {
            double l = -1.0, r = -1.0;
            c.step(k == 0 ? 1.0 : 0.0, 0.0, &l, &r);
            EXPECT_EQ(l, k < c.h.size() ? c.h[k] : 0.0) << k;
            EXPECT_EQ(r, 0.0) << k;
        }
    }
}

TEST(VelmoDecAM, ImpulseGivesTheTransformerThenTheDelayedInput) {
    const double head[] = {0.00083198151, 0.0087884589,  0.00215167268,
                           0.0442372131,  0.00300498354, 0.148255084,
                           0.00224952742, 0.612373948,   1.0};
    for (std::size_t k = 0; k < 20; ++k) {
        double l, r;
        dec_am(k == 0 ? 1.0 : 0.0, 0.0, &l, &r);
        EXPECT_EQ(l, k < 9 ? head[k] : k < 17 ? std::fabs(sDecAM_hn[k]) : 0.0) << k;
        EXPECT_EQ(r, 0.0) << k;
    }
}

TEST(VelmoDecAM, ConstantInputSettlesToItsMagnitude) {
    double l = 0.0, r = 0.0;
    for (int k = 0; k < 17; ++k) dec_am(-0.25, 0.75, &l, &r);
    EXPECT_NEAR(l, 0.25, 1e-16);
    EXPECT_NEAR(r, 0.75, 1e-16);
}

TEST(VelmoSections, StepResponseStartsAtB0AndSettlesToTheInput) {
    for (const SectionCase& c : sections()) {
        SCOPED_TRACE(c.name);
        double l, r;
        c.step(1.0, -0.5, &l, &r);
        EXPECT_EQ(l, c.c.b0);
        EXPECT_EQ(r, c.c.b0 * -0.5);
        for (int k = 0; k < 2000; ++k) c.step(1.0, -0.5, &l, &r);
        EXPECT_NEAR(l, 1.0, 1e-6);
        EXPECT_NEAR(r, -0.5, 1e-6);
    }
}

TEST(VelmoSections, SectionsWithEqualCoefficientsKeepSeparateState) {
    velmo_model::Biquad model(sVelmoSuper44K);
    const std::vector<double> x = velmo_model::noise(200, 3);
    for (std::size_t i = 0; i < x.size(); i += 2) {
        double l, r, other;
        Velmo_Super_44K_16(x[i], x[i + 1], &l, &r);
        Velmo_Super_44K_24(1.0, 1.0, &other, &other);  // must not disturb the 16-bit section
        const velmo_model::Frame want = model.step({x[i], x[i + 1]});
        ASSERT_EQ(l, want.l) << i;
        ASSERT_EQ(r, want.r) << i;
    }
}

TEST(VelmoInit, ClearsTheFirLinesAndEnvelopeButNotHighPassOrSections) {
    for (int k = 0; k < 40; ++k) {
        double l, r;
        VelmoCDlf(0.3, -0.2, &l, &r);
        VelmoOffhf(0.3, -0.2, &l, &r);
        Velmohpf2(0.3, -0.2, &l, &r);
        dec_am(0.3, -0.2, &l, &r);
        VelmoCDlpf2(0.3, -0.2, &l, &r);
    }
    VelmoInit();
    VelmoInit();  // a second call changes nothing more
    double l, r;
    VelmoCDlf(0.0, 0.0, &l, &r);
    EXPECT_EQ(l, 0.0);
    VelmoOffhf(0.0, 0.0, &l, &r);
    EXPECT_EQ(r, 0.0);
    dec_am(0.0, 0.0, &l, &r);
    EXPECT_EQ(l + r, 0.0);
    Velmohpf2(0.0, 0.0, &l, &r);
    EXPECT_NE(l, 0.0);
    VelmoCDlpf2(0.0, 0.0, &l, &r);
    EXPECT_NE(r, 0.0);
}
