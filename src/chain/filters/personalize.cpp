// personalize: the listener's correction, one second-order section per channel.
#include "../registry.h"
#include "../sections_file.h"

namespace quorvex::chain {

namespace {

BuiltFilter build(const Settings& settings, const StreamFormat& input) {
    if (settings.isOn("enabled")) requireHighRate("personalize", input);
    std::vector<Section> sections(1);
    if (settings.given("file")) sections = readSections("personalize", settings.text("file"), 2);
    auto personalize = std::make_unique<PersonalizeFilter>();
    ParamBlock block(*personalize, personalizer_block::kId, personalizer_block::kSize);
    block.setByte(personalizer_block::kEnabled, settings.isOn("enabled"));
    putSection(block, personalizer_block::kLeft, sections.front());
    putSection(block, personalizer_block::kRight, sections.back());
    block.apply("personalize");
    return {std::move(personalize), input};
}

}  // namespace

FilterEntry personalizeEntry() {
    return {{
                "personalize",
                "listener correction: one second-order section for each channel",
                "88200 and 96000 Hz",
                "set of coefficients and filter history",
                "file",
                {
                    enabledParam(),
                    pathParam("file",
                              "one section for both channels, or two lines: left, then right "
                              "(b0 b1 b2 a0 a1 a2 each; none: pass)"),
                },
            },
            build};
}

}  // namespace quorvex::chain
