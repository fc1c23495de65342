// eq: the ten-band graphic equalizer, gains in dB.
#include "../registry.h"

#include <algorithm>
#include <cstring>

namespace quorvex::chain {

namespace {

using namespace equalizer_block;

const char* const kBandKeys[kBands] = {"63",   "160", "400", "1k",       "2.5k",
                                       "6.3k", "16k", "32k", "lowshelf", "highshelf"};

// The filter truncates gain * 12 + 12 to a step; a quarter step above the
// wanted one keeps rounding error from landing on the step below.
double gainForDecibels(double decibels) {
    return std::min(kGainMax, (decibels + 0.25) / kDecibelsPerGain);
}

void refuseHighBandsAtLowRates(const Settings& settings, const StreamFormat& input) {
    if (input.rate == 88200 || input.rate == 96000) return;
    const std::string steps = stepsToReach(input.rate, {88200, 96000});
    for (int band = kLowRateBands; band < kBands; ++band)
        if (settings.given(kBandKeys[band]) && settings.number(kBandKeys[band]) != 0.0)
            throw StreamError(std::string("eq: band ") + kBandKeys[band] +
                              " acts only at 88200 and 96000 Hz, not at the " +
                              std::to_string(input.rate) + " Hz of this stream" +
                              (steps.empty() ? "" : "; put " + steps + " first"));
}

std::vector<Parameter> parameters();

// values: enabled, then the bands in dB.
void write(const double* values, unsigned char* block) {
    block[kEnabled] = values[0] != 0.0;
    for (int band = 0; band < kBands; ++band) {
        const double gain = gainForDecibels(values[1 + band]);
        std::memcpy(block + gainOffset(band), &gain, sizeof gain);
    }
}

BuiltFilter build(const Settings& settings, const StreamFormat& input) {
    if (settings.isOn("enabled")) {
        requireRate("eq", input, {44100, 48000, 88200, 96000});
        refuseHighBandsAtLowRates(settings, input);
    }
    auto eq = std::make_unique<EqualizerFilter>();
    ParamBlock block(*eq, kId, kSize);
    write(numbersOf(parameters(), settings).data(), block.data());
    block.apply("eq");
    return {std::move(eq), input};
}

Parameter band(const char* key, const char* help) {
    return wholeParam(key, kGainMin * kDecibelsPerGain, kGainMax * kDecibelsPerGain, "dB", "0",
                      help);
}

std::vector<Parameter> parameters() {
    return {
        enabledParam(),
        band("63", "peak at 63 Hz"),
        band("160", "peak at 160 Hz"),
        band("400", "peak at 400 Hz"),
        band("1k", "peak at 1 kHz"),
        band("2.5k", "peak at 2.5 kHz"),
        band("6.3k", "peak at 6.3 kHz"),
        band("16k", "peak at 16 kHz"),
        band("32k", "peak at 32 kHz"),
        band("lowshelf", "low shelf near 160 Hz"),
        band("highshelf", "high shelf from 20 kHz (88.2 kHz) or 16 kHz (96 kHz)"),
    };
}

}  // namespace

FilterEntry eqEntry() {
    return {{
                "eq",
                "ten-band graphic equalizer, gains in 1 dB steps",
                "44100, 48000, 88200 and 96000 Hz; the last three bands at 88200 and 96000 Hz only",
                "band setting and filter history",
                "",
                parameters(),
            },
            build,
            nullptr,
            {kId, kSize, write}};
}

}  // namespace quorvex::chain
