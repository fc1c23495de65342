#include "rate/velmo/VelmoTables.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

// Check values worked out from the published decimals: the sum and the sum of
// magnitudes over all taps in increasing k, and the sum of (k + 1) h[k] over
// the first half, which moves when two values trade places.
struct TableCheck {
    const char* name;
    std::vector<double> h;
    double symmetry, centre, sum, magnitudes, moment;
};

template <std::size_t N>
std::vector<double> taps(const std::array<double, N>& h) {
    return {h.begin(), h.end()};
}

}  // namespace

TEST(VelmoTables, ChecksumsSymmetryAndCentreTaps) {
    const TableCheck checks[] = {
        {"sOff_hf", taps(sOff_hf), 1, 0.4535154, 0.9999999766399995, 1.8710557520799993,
         23.79796470123},
        {"sVelmoCDlf", taps(sVelmoCDlf), 1, 0.4166858, 1.0000000531505484, 1.5680206187694512,
         11.830598529956372},
        {"sVelmoCDhf32", taps(sVelmoCDhf32), 1, 0.5833204, 4.5979106768976935e-05,
         1.7345766512932306, 5.1698310493269215},
        {"sVelmoCDhf128", taps(sVelmoCDhf128), 1, 0.5833346, -1.1926235957225447e-05,
         2.2958180816810314, 19.166042523359277},
        {"sVelmoMP3lf", taps(sVelmoMP3lf), 1, 0.3333255, 1.000000214616597, 1.407574401100584,
         11.048814963795056},
        {"sVelmoMP3hf32", taps(sVelmoMP3hf32), 1, 0.6666688, -2.345126680855652e-05,
         1.740946130741177, 5.950946445940095},
        {"sVelmoMP3hf128", taps(sVelmoMP3hf128), 1, 0.6666591, -9.699127200724564e-06,
         2.2516909119055213, 21.942570294876564},
        {"sVelmohpf2", taps(sVelmohpf2), 1, 0.7916646, 0.00016943178000007478,
         1.8481824609800004, 7.238044266340001},
        {"sDecAM_hn", taps(sDecAM_hn), -1, 0.0, -2.0383000842727483e-17, 1.6437857383,
         -6.02110646739},
    };
    for (const TableCheck& c : checks) {
        SCOPED_TRACE(c.name);
        const std::size_t n = c.h.size();
        double sum = 0.0, magnitudes = 0.0, moment = 0.0;
        for (std::size_t k = 0; k < n; ++k) {
            EXPECT_EQ(c.h[k], c.symmetry * c.h[n - 1 - k]) << k;
            sum += c.h[k];
            magnitudes += std::fabs(c.h[k]);
            if (2 * k < n) moment += static_cast<double>(k + 1) * c.h[k];
        }
        EXPECT_EQ(c.h[n / 2], c.centre);
        EXPECT_EQ(sum, c.sum);
        EXPECT_EQ(magnitudes, c.magnitudes);
        EXPECT_EQ(moment, c.moment);
    }
    EXPECT_EQ(sVelmoCDhf128[65], -0.3071891);
    EXPECT_EQ(sDecAM_hn[16], 0.00083198151);
}

TEST(VelmoTables, SectionChecksumsAndUnityGainAtZeroHz) {
    struct {
        VelmoBiquadCoeffs c;
        double sum, moment;  // over a1, a2, b0, b1, b2 in that order
    } const checks[] = {{sVelmoLpf2, 0.9999998999999999, 3.8428892999999995},
                        {sVelmoFine44K, 0.9999998999999999, 7.7639859},
                        {sVelmoSuper44K, 1.0000005, 1.6703171},
                        {sVelmoFine48K24, 0.9999998000000001, 6.541524900000001},
                        {sVelmoFine48K16, 1.00000025, 6.54694095},
                        {sVelmoSuper48K24, 0.9999997000000003, 0.8441557999999985},
                        {sVelmoSuper48K16, 1.0000003999999998, 0.8299409999999989}};
    for (const auto& s : checks) {
        const double v[] = {s.c.a1, s.c.a2, s.c.b0, s.c.b1, s.c.b2};
        double sum = 0.0, moment = 0.0;
        for (int i = 0; i < 5; ++i) {
            sum += v[i];
            moment += (i + 1) * v[i];
        }
        EXPECT_EQ(sum, s.sum) << s.c.b0;
        EXPECT_EQ(moment, s.moment) << s.c.b0;
        EXPECT_NEAR((s.c.b0 + s.c.b1 + s.c.b2) / (1.0 - s.c.a1 - s.c.a2), 1.0, 1e-6) << s.c.b0;
    }
}
