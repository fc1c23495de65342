// personalize: the listener's correction, one second-order section per channel.
#include "error.h"
#include "registry.h"
#include "sections_file.h"

namespace {

constexpr unsigned long kId = 0x70554143;  // pUAC
constexpr int kBlockSize = 104;
constexpr int kOffEnabled = 4;
constexpr int kOffLeft = 8;
constexpr int kOffRight = 56;

BuiltFilter build(const ParamValues& values, const StreamFormat& input) {
    if (values.isOn("enabled"))
        requireHighRate("personalize", input);
    std::vector<Section> sections(1);
    if (values.given("file")) sections = readSections("personalize", values.text("file"), 2);
    auto personalize = std::make_unique<PersonalizeFilter>();
    ParamBlock block(*personalize, kId, kBlockSize);
    block.setByte(kOffEnabled, values.isOn("enabled"));
    putSection(block, kOffLeft, sections.front());
    putSection(block, kOffRight, sections.back());
    block.apply("personalize");
    return {std::move(personalize), input};
}

const FilterRegistration registration({
    "personalize",
    "listener correction: one second-order section for each channel",
    "88200 and 96000 Hz",
    "set of coefficients and filter history",
    "file",
    {
        switchParam("enabled", "on", "off passes the audio through unchanged"),
        pathParam("file", "one section for both channels, or two lines: left, then right "
                          "(b0 b1 b2 a0 a1 a2 each; none: pass)"),
    },
    build,
});

}  // namespace
