// alc: the automatic level control, which keeps every sample within full scale.
#include "registry.h"

namespace {

constexpr unsigned long kId = 0x70414C43;  // pALC
constexpr int kBlockSize = 20;
constexpr int kOffEnabled = 4;
constexpr int kOffMode = 8;
constexpr int kOffRecovery = 12;

BuiltFilter build(const ParamValues& values, const StreamFormat& input) {
    auto alc = std::make_unique<ALCFilter>();
    ParamBlock block(*alc, kId, kBlockSize);
    block.setByte(kOffEnabled, values.isOn("enabled"));
    block.setInt(kOffMode, values.text("mode") == "linked" ? 2 : 1);
    block.setDouble(kOffRecovery, values.number("recovery"));
    block.apply("alc");
    return {std::move(alc), input};
}

const FilterRegistration registration({
    "alc",
    "automatic level control: limits every sample to full scale",
    "any rate",
    "",
    "",
    {
        switchParam("enabled", "on", "off passes the audio through unchanged"),
        choiceParam("mode", {"linked", "sample"},
                    "linked: one gain for both channels, recovering at block ends; "
                    "sample: each sample limited on its own, the gain never recovers"),
        numberParam("recovery", 0.0, 1.0, "per sample", "1.52587890625e-07",
                    "linked mode: gain regained per sample at the end of each block"),
    },
    build,
});

}  // namespace
