// resample: any rate to a fixed one through a windowed-sinc low-pass at the
// rates' common multiple.
#include "../registry.h"

#include <algorithm>

namespace quorvex::chain {

namespace {

constexpr int kMostMultiples = 1023;    // the converter looks no further for a common multiple
constexpr double kHalfLength = 4096.0;  // filter taps on each side, at the common multiple

// The converter's pass band ends at 22/50 of the output rate. Raising the rate,
// the images of the input start at its half rate, so they stay unless
// 22/50 x output <= 1/2 x input: at most 25/22 (about 1.136) times the input.
void requireCleanRise(long long input, long long output) {
    if (output <= highestCleanRate(input)) return;
    throw StreamError(
        "resample: raising " + std::to_string(input) + " Hz to " + std::to_string(output) +
        " Hz would leave images of the input, because the converter's pass band reaches " +
        numberText(0.44 * static_cast<double>(output)) + " Hz, above the " +
        numberText(0.5 * static_cast<double>(input)) +
        " Hz the input holds; it raises the rate cleanly up to " +
        std::to_string(highestCleanRate(input)) +
        " Hz; to go higher put velmo:enhance=off first, a clean 2x interpolator");
}

// The rate at which the converter's filter runs, or 0 when it finds none.
long long commonMultiple(long long a, long long b) {
    const long long high = std::max(a, b);
    const long long low = std::min(a, b);
    for (long long j = 1; j <= kMostMultiples; ++j)
        if (high * j % low == 0) return high * j;
    return 0;
}

BuiltFilter build(const Settings& settings, const StreamFormat& input) {
    const int rate = static_cast<int>(settings.number("rate"));
    requireCleanRise(input.rate, rate);
    const long long multiple = commonMultiple(input.rate, rate);
    if (multiple == 0)
        throw StreamError("resample: " + std::to_string(input.rate) + " and " +
                          std::to_string(rate) + " Hz have no common multiple within " +
                          std::to_string(kMostMultiples) +
                          " multiples of the higher rate; choose a rounder rate");
    const int bits = chosenDepth(settings, input);
    return {std::make_unique<ReSamplingFilter>(input.rate, input.bits, rate, bits),
            StreamFormat{rate, bits}, kHalfLength / static_cast<double>(multiple)};
}

}  // namespace

long long highestCleanRate(long long input) { return input * 25 / 22; }

FilterEntry resampleEntry() {
    return {{
                "resample",
                "converts to a fixed rate through a windowed-sinc low-pass (pass band to 0.44 x "
                "the output rate, so it raises the rate by at most 1.136x; velmo:enhance=off "
                "doubles it)",
                "any rate in, the given rate out",
                "converter (filter table and input history)",
                "rate",
                {
                    wholeParam("rate", 8000, 384000, "Hz", "48000", "output rate"),
                    depthParam({"16", "24", "32"}),
                },
            },
            build};
}

}  // namespace quorvex::chain
