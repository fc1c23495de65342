// velmo: the up-sampling enhancer. Doubles the rate, declares 24 bits and,
// when enhancing, synthesises content above the source's band.
#include "error.h"
#include "registry.h"

namespace {

constexpr unsigned long kId = 0x70564C43;  // pVLC
constexpr int kBlockSize = 20;
constexpr int kOffEnabled = 8;
constexpr int kOffMp3Source = 9;
constexpr int kOffMode = 12;
constexpr int kOutputBits = 24;
// Output samples by which the output trails the input: half the low band
// FIR, plus half a sample for the two-sample hold in front of it.
constexpr double kEnhancerDelay = 16.5;
constexpr double kInterpolatorDelay = 32.5;

void requireEnhanceableSource(const StreamFormat& input) {
    requireRate("velmo", input, {44100, 48000}, " (enhance=off interpolates at any rate)");
    if (input.bits != 16 && input.bits != 24)
        throw CliError("velmo enhances 16- and 24-bit sources, not this " + std::to_string(input.bits) +
                       "-bit one (enhance=off interpolates at any depth)");
}

BuiltFilter build(const ParamValues& values, const StreamFormat& input) {
    if (values.isOn("enhance")) requireEnhanceableSource(input);
    auto velmo = std::make_unique<UpSamplingFilter>();
    ParamBlock block(*velmo, kId, kBlockSize);
    block.setByte(kOffEnabled, values.isOn("enhance"));
    block.setByte(kOffMp3Source, values.text("source") == "mp3");
    block.setInt(kOffMode, values.text("mode") == "super" ? 1 : 2);
    block.apply("velmo");
    velmo->setUseUpSampler32(values.isOn("hb33"));
    const double delay = values.isOn("enhance") ? kEnhancerDelay : kInterpolatorDelay;
    return {std::move(velmo), StreamFormat{2 * input.rate, kOutputBits}, delay / (2.0 * input.rate)};
}

const FilterRegistration registration({
    "velmo",
    "up-sampling enhancer: twice the rate at 24 bits, with new content above the source's band",
    "44100 and 48000 Hz, 16- and 24-bit sources (enhance=off: any rate)",
    "filter history",
    "",
    {
        switchParam("enhance", "on", "off only interpolates to twice the rate"),
        choiceParam("source", {"cd", "mp3"}, "cd: full-band sources; mp3: sources cut near 16 kHz"),
        choiceParam("mode", {"super", "fine"}, "pre-emphasis: super a rising treble shelf, fine a peak near 18 kHz"),
        switchParam("hb33", "off", "16-bit 48 kHz sources: enhancers with the 33-tap high band"),
    },
    build,
});

}  // namespace
