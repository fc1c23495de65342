#include "rate/velmo/VelmoTables.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

// Check values worked out from the published decimals: the sum of all values
// in order, and the sum of (k + 1) v[k] over the first half (all five of a
// section's a1, a2, b0, b1, b2), which moves when two values trade places.
struct Check {
    std::vector<double> v;
    double sum, moment;
};

template <typename Table>
std::vector<double> values(const Table& t) {
    return {t.begin(), t.end()};
}

std::vector<double> values(const VelmoBiquadCoeffs& c) { return {c.a1, c.a2, c.b0, c.b1, c.b2}; }

}  // namespace

TEST(VelmoTables, Checksums) {
    const Check checks[] = {
        {values(sOff_hf), 0.9999999766399995, 23.79796470123},
        {values(sVelmoCDlf), 1.0000000531505484, 11.830598529956372},
        {values(sVelmoCDhf32), 4.5979106768976935e-05, 5.1698310493269215},
        {values(sVelmoCDhf128), -1.1926235957225447e-05, 19.166042523359277},
        {values(sVelmoMP3lf), 1.000000214616597, 11.048814963795056},
        {values(sVelmoMP3hf32), -2.345126680855652e-05, 5.950946445940095},
        {values(sVelmoMP3hf128), -9.699127200724564e-06, 21.942570294876564},
        {values(sVelmohpf2), 0.00016943178000007478, 7.238044266340001},
        {values(sDecAM_hn), -2.0383000842727483e-17, -6.02110646739},
        {values(sVelmoLpf2), 0.9999998999999999, 3.8428892999999995},
        {values(sVelmoFine44K), 0.9999998999999999, 7.7639859},
        {values(sVelmoSuper44K), 1.0000005, 1.6703171},
        {values(sVelmoFine48K24), 0.9999998000000001, 6.541524900000001},
        {values(sVelmoFine48K16), 1.00000025, 6.54694095},
        {values(sVelmoSuper48K24), 0.9999997000000003, 0.8441557999999985},
        {values(sVelmoSuper48K16), 1.0000003999999998, 0.8299409999999989},
    };
    for (const Check& c : checks) {
        const std::size_t half = c.v.size() == 5 ? 5 : (c.v.size() + 1) / 2;
        double sum = 0.0, moment = 0.0;
        for (std::size_t k = 0; k < c.v.size(); ++k) {
            sum += c.v[k];
            if (k < half) moment += static_cast<double>(k + 1) * c.v[k];
        }
        EXPECT_EQ(sum, c.sum) << c.v.size() << " " << c.v[0];
        EXPECT_EQ(moment, c.moment) << c.v.size() << " " << c.v[0];
    }
}
