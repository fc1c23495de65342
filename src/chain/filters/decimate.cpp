// decimate: halves the rate through a 65-tap low-pass designed for 96 kHz.
#include "../registry.h"

namespace quorvex::chain {

namespace {

constexpr int kCentreTap = 32;  // a linear-phase FIR delays by half its length

BuiltFilter build(const Settings& settings, const StreamFormat& input) {
    const int bits = chosenDepth(settings, input);
    return {std::make_unique<DownSamplingFilter>(input.bits, bits),
            StreamFormat{input.rate / 2, bits}, static_cast<double>(kCentreTap) / input.rate};
}

}  // namespace

FilterEntry decimateEntry() {
    return {
        {
            "decimate",
            "halves the rate: 96 kHz to 48 kHz (at other rates the 22 kHz cut-off scales along)",
            "any rate",
            "filter history",
            "",
            {
                depthParam({"16", "24", "32"}),
            },
        },
        build};
}

}  // namespace quorvex::chain
