// resample: any rate to a fixed one, by default through the clean converter;
// engine=exact keeps the library's windowed-sinc converter at the rates'
// common multiple, bit for bit.
#include "../registry.h"

#include <algorithm>

namespace quorvex::chain {

namespace {

constexpr int kMostMultiples = 1023;  // the exact converter looks no further for a common multiple
constexpr double kHalfLength = 4096.0;  // exact filter taps on each side, at the common multiple

// The exact converter's pass band ends at 22/50 of the output rate. Raising
// the rate, the images of the input start at its half rate, so they stay
// unless 22/50 x output <= 1/2 x input: at most 25/22 (about 1.136) times the
// input.
long long highestExactRate(long long input) { return input * 25 / 22; }

void requireCleanRise(long long input, long long output) {
    if (output <= highestExactRate(input)) return;
    throw StreamError(
        "resample: raising " + std::to_string(input) + " Hz to " + std::to_string(output) +
        " Hz with engine=exact would leave images of the input, because that converter's pass "
        "band reaches " +
        numberText(0.44 * static_cast<double>(output)) + " Hz, above the " +
        numberText(0.5 * static_cast<double>(input)) +
        " Hz the input holds; it raises the rate cleanly up to " +
        std::to_string(highestExactRate(input)) +
        " Hz; to go higher use the clean engine or put velmo:enhance=off first, a clean 2x "
        "interpolator");
}

// The rate at which the exact converter's filter runs, or 0 when it finds none.
long long commonMultiple(long long a, long long b) {
    const long long high = std::max(a, b);
    const long long low = std::min(a, b);
    for (long long j = 1; j <= kMostMultiples; ++j)
        if (high * j % low == 0) return high * j;
    return 0;
}

BuiltFilter buildExact(const StreamFormat& input, int rate, int bits) {
    requireCleanRise(input.rate, rate);
    const long long multiple = commonMultiple(input.rate, rate);
    if (multiple == 0)
        throw StreamError("resample: " + std::to_string(input.rate) + " and " +
                          std::to_string(rate) + " Hz have no common multiple within " +
                          std::to_string(kMostMultiples) +
                          " multiples of the higher rate; choose a rounder rate");
    return {std::make_unique<ReSamplingFilter>(input.rate, input.bits, rate, bits),
            StreamFormat{rate, bits}, kHalfLength / static_cast<double>(multiple)};
}

BuiltFilter buildClean(const StreamFormat& input, int rate, int bits) {
    if (!CleanResampler::converts(input.rate, rate))
        throw StreamError("resample: " + std::to_string(input.rate) + " Hz does not convert to " +
                          std::to_string(rate) + " Hz: both rates must lie within " +
                          std::to_string(CleanResampler::kLowestRate) + " and " +
                          std::to_string(CleanResampler::kHighestRate) +
                          " Hz and their ratio must reduce to terms of at most " +
                          std::to_string(CleanResampler::kMostRatioTerm) +
                          "; choose a "
                          "rounder rate");
    auto filter = std::make_unique<CleanResampler>(input.rate, rate, bits);
    const double latency = filter->latencySeconds();
    return {std::move(filter), StreamFormat{rate, bits}, latency};
}

BuiltFilter build(const Settings& settings, const StreamFormat& input) {
    const int rate = static_cast<int>(settings.number("rate"));
    const int bits = chosenDepth(settings, input);
    if (settings.text("engine") == "exact") return buildExact(input, rate, bits);
    return buildClean(input, rate, bits);
}

}  // namespace

// The clean engine filters any rise within its range.
long long highestCleanRate(long long input) {
    const bool taken =
        input >= CleanResampler::kLowestRate && input <= CleanResampler::kHighestRate;
    return taken ? CleanResampler::kHighestRate : 0;
}

FilterEntry resampleEntry() {
    return {{
                "resample",
                "converts to a fixed rate; the clean engine (default) is linear-phase, flat to "
                "0.9 x the lower Nyquist frequency and 120 dB down beyond it, up or down by any "
                "ratio whose terms reduce to 8192 or less; engine=exact is the library's "
                "windowed-sinc converter bit for bit (pass "
                "band to 0.44 x the output rate, so it raises the rate by at most 1.136x)",
                "any rate in, the given rate out",
                "converter when engine=exact (filter table and input history)",
                "rate",
                {
                    wholeParam("rate", CleanResampler::kLowestRate, CleanResampler::kHighestRate,
                               "Hz", "48000", "output rate"),
                    choiceParam("engine", {"clean", "exact"},
                                "clean: the clean converter, its state its own; exact: the "
                                "library's converter, bit for bit, its state process-wide"),
                    depthParam({"16", "24", "32"}),
                },
            },
            build};
}

}  // namespace quorvex::chain
