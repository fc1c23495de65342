#include "rate/velmo/VelmoSections.h"

#include <gtest/gtest.h>

#include <cmath>

#include "rate/velmo/VelmoModel.h"
#include "rate/velmo/VelmoTables.h"

// Every case runs in a fresh process (CTest), where all history is zero.

TEST(VelmoFirStep, ImpulseGivesTheTableOnItsChannelOnly) {
    double line[2 * 33] = {};
    for (std::size_t k = 0; k < 35; ++k) {
        double l = k == 0 ? 1.0 : 0.0, r = 0.0;
        velmoFirStep(sVelmohpf2, line, l, r, &l, &r);  // outputs may alias the inputs' variables
        EXPECT_EQ(l, k < 33 ? sVelmohpf2[k] : 0.0) << k;
        EXPECT_EQ(r, 0.0) << k;
    }
}

TEST(VelmoFirStep, HeldStepsEqualTwoSingleStepsBitForBit) {
    double held[2 * 65] = {}, single[2 * 65] = {};
    const std::vector<double> x = velmo_model::noise(300, 9);
    for (std::size_t i = 0; i < x.size(); i += 2) {
        double got[4], want[4];
        velmoFirHeldSteps(sOff_hf, held, x[i], x[i + 1], &got[0], &got[1], &got[2], &got[3]);
        velmoFirStep(sOff_hf, single, x[i], x[i + 1], &want[0], &want[1]);
        velmoFirStep(sOff_hf, single, x[i], x[i + 1], &want[2], &want[3]);
        for (int j = 0; j < 4; ++j) ASSERT_EQ(got[j], want[j]) << i;
    }
}

TEST(VelmoDecAM, ImpulseThenConstant) {
    const double head[] = {0.00083198151, 0.0087884589, 0.00215167268, 0.0442372131, 0.00300498354,
                           0.148255084,   0.00224952742, 0.612373948, 1.0};
    double l, r;
    for (std::size_t k = 0; k < 20; ++k) {
        dec_am(k == 0 ? 1.0 : 0.0, 0.0, &l, &r);
        EXPECT_EQ(l, k < 9 ? head[k] : k < 17 ? std::fabs(sDecAM_hn[k]) : 0.0) << k;
        EXPECT_EQ(r, 0.0) << k;
    }
    // The odd-symmetric taps cancel a constant, leaving its magnitude.
    for (int k = 0; k < 17; ++k) dec_am(-0.25, 0.75, &l, &r);
    EXPECT_NEAR(l, 0.25, 1e-16);
    EXPECT_NEAR(r, 0.75, 1e-16);
}

TEST(VelmoSections, StepResponseStartsAtB0AndSettlesToTheInput) {
    const struct {
        VelmoStereoStep step;
        VelmoBiquadCoeffs c;
    } sections[] = {{VelmoCDlpf2, sVelmoLpf2},
                    {VelmoMP3lpf2, sVelmoLpf2},
                    {Velmo_Fine_44K_24, sVelmoFine44K},
                    {Velmo_Fine_44K_16, sVelmoFine44K},
                    {Velmo_Super_44K_24, sVelmoSuper44K},
                    {Velmo_Super_44K_16, sVelmoSuper44K},
                    {Velmo_Fine_48K_24, sVelmoFine48K24},
                    {Velmo_Fine_48K_16, sVelmoFine48K16},
                    {Velmo_Super_48K_24, sVelmoSuper48K24},
                    {Velmo_Super_48K_16, sVelmoSuper48K16}};
    for (const auto& s : sections) {
        double l, r;
        s.step(1.0, -0.5, &l, &r);
        EXPECT_EQ(l, s.c.b0);
        EXPECT_EQ(r, s.c.b0 * -0.5);
        for (int k = 0; k < 2000; ++k) s.step(1.0, -0.5, &l, &r);
        EXPECT_NEAR(l, 1.0, 1e-6) << s.c.b0;
        EXPECT_NEAR(r, -0.5, 1e-6) << s.c.b0;
    }
}

TEST(VelmoSections, SectionsWithEqualCoefficientsKeepSeparateState) {
    velmo_model::Biquad model{sVelmoSuper44K};
    const std::vector<double> x = velmo_model::noise(200, 3);
    for (std::size_t i = 0; i < x.size(); i += 2) {
        double l, r, other;
        Velmo_Super_44K_16(x[i], x[i + 1], &l, &r);
        Velmo_Super_44K_24(1.0, 1.0, &other, &other);
        const velmo_model::Frame want = model.step({x[i], x[i + 1]});
        ASSERT_EQ(l, want.l) << i;
        ASSERT_EQ(r, want.r) << i;
    }
}
