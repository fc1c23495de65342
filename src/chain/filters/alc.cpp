// alc: the automatic level control, which keeps every sample within full scale.
#include "../registry.h"

namespace quorvex::chain {

namespace {

BuiltFilter build(const Settings& settings, const StreamFormat& input) {
    auto alc = std::make_unique<ALCFilter>();
    ParamBlock block(*alc, alc_block::kId, alc_block::kSize);
    block.setByte(alc_block::kEnabled, settings.isOn("enabled"));
    block.setInt(alc_block::kMode, settings.text("mode") == "linked" ? alc_block::kModeLinked
                                                                     : alc_block::kModeSample);
    block.setDouble(alc_block::kRecovery, settings.number("recovery"));
    block.apply("alc");
    return {std::move(alc), input};
}

}  // namespace

FilterEntry alcEntry() {
    return {{
                "alc",
                "automatic level control: limits every sample to full scale",
                "any rate",
                "",
                "",
                {
                    enabledParam(),
                    choiceParam("mode", {"linked", "sample"},
                                "linked: one gain for both channels, recovering at block ends; "
                                "sample: each sample limited on its own, the gain never recovers"),
                    numberParam("recovery", alc_block::kRecoveryMin, alc_block::kRecoveryMax,
                                "per sample", numberText(alc_block::kDefaultRecovery),
                                "linked mode: gain regained per sample at the end of each block"),
                },
            },
            build};
}

}  // namespace quorvex::chain
