// personalize: the listener's correction, one second-order section per channel.
#include "../registry.h"
#include "../sections_file.h"

namespace quorvex::chain {

namespace {

using namespace personalizer_block;

std::vector<Parameter> parameters() {
    return {
        enabledParam(),
        pathParam("file",
                  "one section for both channels, or two lines: left, then right "
                  "(b0 b1 b2 a0 a1 a2 each; none: pass)"),
    };
}

// values: enabled; the sections are written on their own.
void write(const double* values, unsigned char* block) { block[kEnabled] = values[0] != 0.0; }

BuiltFilter build(const Settings& settings, const StreamFormat& input) {
    if (settings.isOn("enabled")) requireHighRate("personalize", input);
    std::vector<Section> sections(1);
    if (settings.given("file")) sections = readSections("personalize", settings.text("file"), 2);
    auto personalize = std::make_unique<PersonalizeFilter>();
    ParamBlock block(*personalize, kId, kSize);
    write(numbersOf(parameters(), settings).data(), block.data());
    writeSection(block.data(), kLeft, sections.front());
    writeSection(block.data(), kRight, sections.back());
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
                parameters(),
            },
            build,
            nullptr,
            {kId, kSize, write}};
}

}  // namespace quorvex::chain
