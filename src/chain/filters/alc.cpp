// alc: the automatic level control, which keeps every sample within full scale.
#include "../registry.h"

#include <cstring>

namespace quorvex::chain {

namespace {

using namespace alc_block;

std::vector<Parameter> parameters() {
    return {
        enabledParam(),
        choiceParam("mode", {"linked", "sample"},
                    "linked: one gain for both channels, recovering at block ends; "
                    "sample: each sample limited on its own, the gain never recovers"),
        numberParam("recovery", kRecoveryMin, kRecoveryMax, "per sample",
                    numberText(kDefaultRecovery),
                    "linked mode: gain regained per sample at the end of each block"),
    };
}

// values: enabled, mode (linked, sample), recovery.
void write(const double* values, unsigned char* block) {
    block[kEnabled] = values[0] != 0.0;
    const int32_t mode = values[1] == 0.0 ? kModeLinked : kModeSample;
    std::memcpy(block + kMode, &mode, sizeof mode);
    std::memcpy(block + kRecovery, &values[2], sizeof values[2]);
}

BuiltFilter build(const Settings& settings, const StreamFormat& input) {
    auto alc = std::make_unique<ALCFilter>();
    ParamBlock block(*alc, kId, kSize);
    write(numbersOf(parameters(), settings).data(), block.data());
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
                parameters(),
            },
            build,
            nullptr,
            {kId, kSize, write}};
}

}  // namespace quorvex::chain
