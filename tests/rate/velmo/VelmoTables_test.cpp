#include "rate/velmo/VelmoTables.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <vector>

namespace {

// Check values of each table, worked out from the published decimals:
// the plain sum and the sum of magnitudes over all taps in increasing k, and
// the sum of (k + 1) * h[k] over the first half, which moves when two values
// are swapped.
struct TableCheck {
    const char* name;
    std::vector<double> taps;
    int symmetry;  // +1 even, -1 odd
    double centre;
    double sum;
    double magnitudeSum;
    double firstHalfMoment;
};

template <std::size_t N>
std::vector<double> taps(const std::array<double, N>& h) {
    return std::vector<double>(h.begin(), h.end());
}

std::vector<TableCheck> checks() {
    return {
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
}

}  // namespace

TEST(VelmoTables, ChecksumsAndSymmetry) {
    for (const TableCheck& c : checks()) {
        SCOPED_TRACE(c.name);
        const std::vector<double>& h = c.taps;
        const std::size_t n = h.size();
        for (std::size_t k = 0; k < n; ++k) EXPECT_EQ(h[k], c.symmetry * h[n - 1 - k]) << k;
        EXPECT_EQ(h[(n - 1) / 2], c.centre);

        double sum = 0.0, magnitudes = 0.0, moment = 0.0;
        for (std::size_t k = 0; k < n; ++k) {
            sum += h[k];
            magnitudes += std::fabs(h[k]);
        }
        for (std::size_t k = 0; k <= (n - 1) / 2; ++k) moment += static_cast<double>(k + 1) * h[k];
        EXPECT_EQ(sum, c.sum);
        EXPECT_EQ(magnitudes, c.magnitudeSum);
        EXPECT_EQ(moment, c.firstHalfMoment);
    }
}

TEST(VelmoTables, SpotValuesAndBandGains) {
    EXPECT_EQ(sOff_hf[0], 2.656469e-05);
    EXPECT_EQ(sOff_hf[64], 2.656469e-05);
    EXPECT_EQ(sVelmoCDhf128[64], 0.5833346);
    EXPECT_EQ(sVelmoCDhf128[65], -0.3071891);
    EXPECT_EQ(sVelmoMP3hf128[128], 1.151153e-05);
    EXPECT_EQ(sDecAM_hn[9], 0.612373948);
    EXPECT_EQ(sDecAM_hn[16], 0.00083198151);

    // The low bands pass 0 Hz at unity; each 33-tap high band nearly
    // complements its low band to a unit impulse.
    for (std::size_t k = 0; k < 33; ++k) {
        const double unit = k == 16 ? 1.0 : 0.0;
        EXPECT_NEAR(sVelmoCDlf[k] + sVelmoCDhf32[k], unit, 3e-5) << k;
        EXPECT_NEAR(sVelmoMP3lf[k] + sVelmoMP3hf32[k], unit, 1e-5) << k;
    }
    // Every third tap of the MP3 tables, counted from the centre, is nearly zero.
    for (int k = 64 - 3; k >= 0; k -= 3) EXPECT_LT(std::fabs(sVelmoMP3hf128[k]), 1e-10) << k;
    for (int k = 16 - 3; k >= 0; k -= 3) EXPECT_LT(std::fabs(sVelmoMP3lf[k]), 1e-10) << k;
}

TEST(VelmoTables, SectionsHaveUnityGainAtZeroHz) {
    const VelmoBiquadCoeffs sections[] = {sVelmoLpf2,      sVelmoFine44K,    sVelmoSuper44K,
                                          sVelmoFine48K24, sVelmoFine48K16,  sVelmoSuper48K24,
                                          sVelmoSuper48K16};
    for (const VelmoBiquadCoeffs& c : sections)
        EXPECT_NEAR((c.b0 + c.b1 + c.b2) / (1.0 - c.a1 - c.a2), 1.0, 1e-6) << c.b0;
    EXPECT_EQ(sVelmoSuper44K.b0, 1.759259);
    EXPECT_EQ(sVelmoFine48K16.b2, 0.05902015);
}
