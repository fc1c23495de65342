#include "rate/velmo/VelmoSections.h"

#include <gtest/gtest.h>

#include <cmath>

#include "rate/velmo/VelmoModel.h"
#include "rate/velmo/VelmoTables.h"

// Every case runs in a fresh process (CTest), where all history is zero.

// A left impulse in a call's first instant and a right one in its second: the
// two steps of a call see their own windows, the second one shifted by the first.
TEST(VelmoDecAM, ImpulseResponseOfEitherInstantThenConstant) {
    const double head[] = {0.00083198151, 0.0087884589, 0.00215167268, 0.0442372131, 0.00300498354,
                           0.148255084,   0.00224952742, 0.612373948, 1.0};
    const auto response = [&](int k) {
        return k < 0 ? 0.0 : k < 9 ? head[k] : k < 17 ? std::fabs(sDecAM_hn[k]) : 0.0;
    };
    for (int k = 0; k < 20; k += 2) {
        const VelmoInstants y = dec_am({{{k == 0 ? 1.0 : 0.0, 0.0}, {0.0, k == 0 ? 1.0 : 0.0}}});
        for (int i = 0; i < 2; ++i) {
            EXPECT_EQ(y[i].l, response(k + i)) << k + i;
            EXPECT_EQ(y[i].r, response(k + i - 1)) << k + i;
        }
    }
    // The odd-symmetric taps cancel a constant, leaving its magnitude.
    VelmoInstants y{};
    for (int k = 0; k < 9; ++k) y = dec_am({{{-0.25, 0.75}, {-0.25, 0.75}}});
    for (const VelmoFrame& f : y) {
        EXPECT_NEAR(f.l, 0.25, 1e-16);
        EXPECT_NEAR(f.r, 0.75, 1e-16);
    }
}

// The same coefficients in two sections do not mean a shared history.
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
