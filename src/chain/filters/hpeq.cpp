// hpeq: the headphone equalizer, three sections designed for the headphones.
#include "../registry.h"
#include "../sections_file.h"

#include <algorithm>

namespace quorvex::chain {

namespace {

BuiltFilter build(const Settings& settings, const StreamFormat& input) {
    if (settings.isOn("enabled")) requireHighRate("hpeq", input);
    std::vector<Section> sections(hpeq_block::kSectionCount);
    if (settings.given("file")) {
        const std::vector<Section> read =
            readSections("hpeq", settings.text("file"), hpeq_block::kSectionCount);
        std::copy(read.begin(), read.end(), sections.begin());
    }
    auto hpeq = std::make_unique<HPEQFilter>();
    ParamBlock block(*hpeq, hpeq_block::kId, hpeq_block::kSize);
    block.setByte(hpeq_block::kEnabled, settings.isOn("enabled"));
    for (int i = 0; i < hpeq_block::kSectionCount; ++i)
        putSection(block, hpeq_block::sectionOffset(i), sections[static_cast<size_t>(i)]);
    block.apply("hpeq");
    return {std::move(hpeq), input};
}

}  // namespace

FilterEntry hpeqEntry() {
    return {
        {
            "hpeq",
            "headphone equalizer: up to three second-order sections, both channels alike",
            "88200 and 96000 Hz",
            "set of coefficients and filter history",
            "file",
            {
                enabledParam(),
                pathParam(
                    "file",
                    "sections, one a line: b0 b1 b2 a0 a1 a2 (missing ones pass; none: all pass)"),
            },
        },
        build};
}

}  // namespace quorvex::chain
