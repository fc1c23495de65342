#include "rate/velmo/VelmoTables.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

// Check values worked out from the published decimals: the sum and the sum of
// magnitudes over all taps in increasing k, and the sum of (k + 1) h[k] over
// the first half, which moves when two values trade places.
TEST(VelmoTables, FirChecksums) {
    const struct {
        const char* name;
        std::vector<double> h;
        double sum, magnitudes, moment;
    } checks[] = {
        {"sOff_hf",
         {sOff_hf.begin(), sOff_hf.end()},
         0.9999999766399995,
         1.8710557520799993,
         23.79796470123},
        {"sVelmoCDlf",
         {sVelmoCDlf.begin(), sVelmoCDlf.end()},
         1.0000000531505484,
         1.5680206187694512,
         11.830598529956372},
        {"sVelmoCDhf32",
         {sVelmoCDhf32.begin(), sVelmoCDhf32.end()},
         4.5979106768976935e-05,
         1.7345766512932306,
         5.1698310493269215},
        {"sVelmoCDhf128",
         {sVelmoCDhf128.begin(), sVelmoCDhf128.end()},
         -1.1926235957225447e-05,
         2.2958180816810314,
         19.166042523359277},
        {"sVelmoMP3lf",
         {sVelmoMP3lf.begin(), sVelmoMP3lf.end()},
         1.000000214616597,
         1.407574401100584,
         11.048814963795056},
        {"sVelmoMP3hf32",
         {sVelmoMP3hf32.begin(), sVelmoMP3hf32.end()},
         -2.345126680855652e-05,
         1.740946130741177,
         5.950946445940095},
        {"sVelmoMP3hf128",
         {sVelmoMP3hf128.begin(), sVelmoMP3hf128.end()},
         -9.699127200724564e-06,
         2.2516909119055213,
         21.942570294876564},
        {"sVelmohpf2",
         {sVelmohpf2.begin(), sVelmohpf2.end()},
         0.00016943178000007478,
         1.8481824609800004,
         7.238044266340001},
        {"sDecAM_hn",
         {sDecAM_hn.begin(), sDecAM_hn.end()},
         -2.0383000842727483e-17,
         1.6437857383,
         -6.02110646739},
    };
    for (const auto& c : checks) {
        double sum = 0.0, magnitudes = 0.0, moment = 0.0;
        for (std::size_t k = 0; k < c.h.size(); ++k) {
            sum += c.h[k];
            magnitudes += std::fabs(c.h[k]);
            if (2 * k < c.h.size()) moment += static_cast<double>(k + 1) * c.h[k];
        }
        EXPECT_EQ(sum, c.sum) << c.name;
        EXPECT_EQ(magnitudes, c.magnitudes) << c.name;
        EXPECT_EQ(moment, c.moment) << c.name;
    }
}

// The sum and the sum of (i + 1) v[i] over a1, a2, b0, b1, b2 in that order.
TEST(VelmoTables, SectionChecksums) {
    const struct {
        VelmoBiquadCoeffs c;
        double sum, moment;
    } checks[] = {{sVelmoLpf2, 0.9999998999999999, 3.8428892999999995},
                  {sVelmoFine44K, 0.9999998999999999, 7.7639859},
                  {sVelmoSuper44K, 1.0000005, 1.6703171},
                  {sVelmoFine48K24, 0.9999998000000001, 6.541524900000001},
                  {sVelmoFine48K16, 1.00000025, 6.54694095},
                  {sVelmoSuper48K24, 0.9999997000000003, 0.8441557999999985},
                  {sVelmoSuper48K16, 1.0000003999999998, 0.8299409999999989}};
    for (const auto& s : checks) {
        const double v[] = {s.c.a1, s.c.a2, s.c.b0, s.c.b1, s.c.b2};
        double sum = 0.0, moment = 0.0;
        for (int i = 0; i < 5; ++i) sum += v[i], moment += (i + 1) * v[i];
        EXPECT_EQ(sum, s.sum) << s.c.b0;
        EXPECT_EQ(moment, s.moment) << s.c.b0;
    }
}
