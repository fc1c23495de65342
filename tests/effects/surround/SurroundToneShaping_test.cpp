#include <quorvex/SurroundFilter.h>

#include <gtest/gtest.h>

#include <cmath>
#include <complex>

// Each test case runs in a process of its own, so the histories that nothing
// clears start empty here. Neither the surround's construction nor its reset
// clears them.

namespace {

using Booster = void (*)(double, double, double*, double*);

// Steady-state gain in dB of a sine at `freq` (a whole number of cycles per
// second), from its correlation over the last of three seconds, on both
// channels (the right one inverted).
void expectGainDb(Booster booster, int rate, double freq, double expectedDb) {
    std::complex<double> sumL, sumR;
    for (int i = 0; i < 3 * rate; ++i) {
        const double phase = 2.0 * M_PI * freq * i / rate;
        double l, r;
        booster(std::cos(phase), -std::cos(phase), &l, &r);
        if (i >= 2 * rate) {
            sumL += l * std::polar(1.0, -phase);
            sumR -= r * std::polar(1.0, -phase);
        }
    }
    // A cosine at 0 Hz or Nyquist puts all its power in one bin.
    const double scale = (freq == 0.0 || 2.0 * freq == rate) ? 1.0 : 2.0;
    const double gainL = scale * std::abs(sumL) / rate;
    EXPECT_NEAR(20.0 * std::log10(gainL), expectedDb, 0.002) << rate << " Hz, " << freq;
    EXPECT_NEAR(std::abs(sumL - sumR), 0.0, 1e-9);
}

}  // namespace

TEST(SurroundToneShaping, PeakAt150HzDipAt4kHzAndShelfToNyquist) {
    for (auto [booster, rate] : {std::pair<Booster, int>{booster_48k, 48000}, {booster_96k, 96000}}) {
        expectGainDb(booster, rate, 0.0, rate == 48000 ? 0.011 : 0.018);
        expectGainDb(booster, rate, 150.0, 2.986);
        expectGainDb(booster, rate, 4000.0, rate == 48000 ? -2.743 : -2.612);
        expectGainDb(booster, rate, rate / 2.0, 6.0);
    }
}

TEST(SurroundToneShaping, FirstSampleIsTheProductOfTheSectionGains) {
    double l, r;
    booster_48k(1.0, -0.5, &l, &r);
    EXPECT_EQ(l, 1.0 * 1.00338 * 0.8954655 * 1.380013);
    EXPECT_EQ(r, -0.5 * 1.00338 * 0.8954655 * 1.380013);
    // The 96 kHz kernel keeps a history of its own, still empty; its outputs
    // may alias its inputs.
    l = 0.25;
    r = -0.75;
    booster_96k(l, r, &l, &r);
    EXPECT_EQ(l, 0.25 * 1.001697 * 0.9345971 * 1.613856);
    EXPECT_EQ(r, -0.75 * 1.001697 * 0.9345971 * 1.613856);
}

TEST(SurroundToneShaping, HistoryOutlivesSurroundInit) {
    double l, r;
    booster_48k(1.0, 1.0, &l, &r);
    SurroundFilter filter;  // loads defaults and clears the delay lines
    filter.reset();
    booster_48k(0.0, 0.0, &l, &r);
    EXPECT_NE(l, 0.0);
    EXPECT_EQ(l, r);
}
