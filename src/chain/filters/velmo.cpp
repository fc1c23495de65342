// velmo: the up-sampling enhancer. Doubles the rate, declares 24 bits and,
// when enhancing, synthesises content above the source's band.
#include "../registry.h"

namespace quorvex::chain {

namespace {

// Output samples by which the output trails the input: half the low band
// FIR, plus half a sample for the two-sample hold in front of it.
constexpr double kEnhancerDelay = 16.5;
constexpr double kInterpolatorDelay = 32.5;

void requireEnhanceableSource(const StreamFormat& input) {
    requireRate("velmo", input, {44100, 48000}, " (enhance=off interpolates at any rate)", false);
    if (input.bits != 16 && input.bits != 24)
        throw StreamError("velmo enhances 16- and 24-bit sources, not this " +
                          std::to_string(input.bits) +
                          "-bit one (enhance=off interpolates at any depth)");
}

BuiltFilter build(const Settings& settings, const StreamFormat& input) {
    if (settings.isOn("enhance")) requireEnhanceableSource(input);
    auto velmo = std::make_unique<UpSamplingFilter>();
    ParamBlock block(*velmo, velmo_block::kId, velmo_block::kSize);
    block.setByte(velmo_block::kEnabled, settings.isOn("enhance"));
    block.setByte(velmo_block::kMp3Source, settings.text("source") == "mp3");
    block.setInt(velmo_block::kMode, settings.text("mode") == "super" ? velmo_block::kModeSuper
                                                                      : velmo_block::kModeFine);
    block.apply("velmo");
    velmo->setUseUpSampler32(settings.isOn("hb33"));
    const double delay = settings.isOn("enhance") ? kEnhancerDelay : kInterpolatorDelay;
    return {std::move(velmo),
            StreamFormat{doubledRate("velmo", input.rate), velmo_block::kOutputBits},
            delay / (2.0 * input.rate)};
}

}  // namespace

FilterEntry velmoEntry() {
    return {
        {
            "velmo",
            "up-sampling enhancer: twice the rate at 24 bits, with new content above the source's "
            "band",
            "44100 and 48000 Hz, 16- and 24-bit sources (enhance=off: any rate)",
            "filter history",
            "",
            {
                switchParam("enhance", "on", "off only interpolates to twice the rate"),
                choiceParam("source", {"cd", "mp3"},
                            "cd: full-band sources; mp3: sources cut near 16 kHz"),
                choiceParam("mode", {"super", "fine"},
                            "pre-emphasis: super a rising treble shelf, fine a peak near 18 kHz"),
                switchParam("hb33", "off",
                            "16-bit 48 kHz sources: enhancers with the 33-tap high band"),
            },
        },
        build};
}

}  // namespace quorvex::chain
