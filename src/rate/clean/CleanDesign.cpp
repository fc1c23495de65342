#include "rate/clean/CleanDesign.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace quorvex::clean {

namespace {

constexpr double kPi = 3.141592653589793;
// Stop-band attenuation the length is chosen for: 120 dB and a margin for
// the float taps and sums.
constexpr double kAttenuationDb = 125.0;

// Kaiser's estimates of the window's shape and of the length, in samples,
// that reach kAttenuationDb across a transition `width` wide (in cycles per
// sample).
double kaiserBeta() { return 0.1102 * (kAttenuationDb - 8.7); }
double kaiserLength(double width) { return (kAttenuationDb - 7.95) / (14.36 * width); }

// I0, the modified Bessel function of the first kind, by its power series.
double besselI0(double x) {
    const double quarterSquare = x * x / 4.0;
    double term = 1.0;
    double sum = 1.0;
    for (int k = 1; term > sum * 1e-17; ++k) {
        term *= quarterSquare / (static_cast<double>(k) * k);
        sum += term;
    }
    return sum;
}

// The prototype at `t` input periods from its centre: an ideal low-pass with
// its edge at `cutoff` (cycles per input period) under a Kaiser window
// reaching to +-halfSpan.
struct Prototype {
    double cutoff;
    double halfSpan;
    double beta = kaiserBeta();
    double windowScale = 1.0 / besselI0(kaiserBeta());

    double at(double t) const {
        const double x = t / halfSpan;
        if (x <= -1.0 || x >= 1.0) return 0.0;
        const double lowPass =
            t == 0.0 ? 2.0 * cutoff : std::sin(2.0 * kPi * cutoff * t) / (kPi * t);
        return lowPass * besselI0(beta * std::sqrt(1.0 - x * x)) * windowScale;
    }
};

bool inRange(int rate) {
    return rate >= CleanResampler::kLowestRate && rate <= CleanResampler::kHighestRate;
}

// The pair reduced, with taps reaching kAttenuationDb across a transition
// `width` wide (cycles per input period), `extraGroups` more, and the edge
// at `cutoff`; up == 0 when the terms or the table are too large.
Design reducedDesign(int inRate, int outRate, double width, double cutoff, int extraGroups) {
    const int divisor = std::gcd(inRate, outRate);
    Design d;
    d.up = outRate / divisor;
    d.down = inRate / divisor;
    if (d.passThrough()) return d;
    const int groups = static_cast<int>(std::ceil(kaiserLength(width) / kTapGroup)) + extraGroups;
    d.taps = groups * kTapGroup;
    const int reach = kTapGroup - 1 + (kBatch - 1) * (d.down / d.up + 1);
    d.pad = (reach + kTapGroup - 1) / kTapGroup * kTapGroup;
    d.cutoff = cutoff;
    if (d.up > CleanResampler::kMostRatioTerm || d.down > CleanResampler::kMostRatioTerm ||
        static_cast<long>(d.up) * d.taps > kMostTableTaps)
        return {};
    return d;
}

}  // namespace

Design designFor(int inRate, int outRate) {
    if (!inRange(inRate) || !inRange(outRate)) return {};
    // The transition band, from the pass-band edge to the lower Nyquist
    // frequency, in cycles per input period.
    const double lowerNyquist = 0.5 * std::min(inRate, outRate);
    const double width = (1.0 - kPassFraction) * lowerNyquist / inRate;
    return reducedDesign(inRate, outRate, width,
                         0.5 * (1.0 + kPassFraction) * lowerNyquist / inRate, 0);
}

Design shortDesignFor(int inRate, int outRate, double passHz, double stopHz) {
    // Kaiser's estimate falls short for a filter of a few taps: a group
    // more keeps the margin below the stop-band target.
    Design d = reducedDesign(inRate, outRate, (stopHz - passHz) / inRate,
                             0.5 * (passHz + stopHz) / inRate, 1);
    d.phasesSumToOne = stopHz + passHz <= inRate;
    return d;
}

std::vector<float> phaseTable(const Design& d) {
    const Prototype prototype{d.cutoff, 0.5 * d.taps};
    std::vector<double> runs(static_cast<size_t>(d.up) * d.taps);
    std::vector<double> sums(d.up, 0.0);
    for (int p = 0; p < d.up; ++p) {
        // Tap j weights the input (taps / 2 - 1 - j) periods before the
        // output's nearest earlier input, the output lying p / up past it.
        const double offset = static_cast<double>(p) / d.up;
        for (int j = 0; j < d.taps; ++j) {
            runs[static_cast<size_t>(p) * d.taps + j] =
                prototype.at(offset + (prototype.halfSpan - 1 - j));
            sums[p] += runs[static_cast<size_t>(p) * d.taps + j];
        }
    }
    if (!d.phasesSumToOne) {
        double total = 0.0;
        for (double sum : sums) total += sum;
        std::fill(sums.begin(), sums.end(), total / d.up);
    }
    std::vector<float> table(static_cast<size_t>(d.up) * d.rowStride(), 0.0f);
    for (int p = 0; p < d.up; ++p)
        for (int j = 0; j < d.taps; ++j)
            table[static_cast<size_t>(p) * d.rowStride() + d.pad + j] =
                static_cast<float>(runs[static_cast<size_t>(p) * d.taps + j] / sums[p]);
    return table;
}

std::vector<double> steepTaps(double cutoff, double width, double gain) {
    const int half = static_cast<int>(std::ceil(0.5 * kaiserLength(width)));
    const Prototype prototype{cutoff, half + 1.0};
    std::vector<double> taps(2 * half + 1);
    double sum = 0.0;
    for (int k = 0; k <= 2 * half; ++k) {
        taps[k] = prototype.at(k - half);
        sum += taps[k];
    }
    for (double& tap : taps) tap *= gain / sum;
    return taps;
}

}  // namespace quorvex::clean
