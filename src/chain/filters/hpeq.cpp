// hpeq: the headphone equalizer, three sections designed for the headphones.
#include "../registry.h"
#include "../sections_file.h"

#include <algorithm>

namespace quorvex::chain {

namespace {

using namespace hpeq_block;

std::vector<Parameter> parameters() {
    return {
        enabledParam(),
        pathParam("file",
                  "sections, one a line: b0 b1 b2 a0 a1 a2 (missing ones pass; none: all pass)"),
    };
}

// values: enabled; the sections are written on their own.
void write(const double* values, unsigned char* block) { block[kEnabled] = values[0] != 0.0; }

BuiltFilter build(const Settings& settings, const StreamFormat& input) {
    if (settings.isOn("enabled")) requireHighRate("hpeq", input);
    std::vector<Section> sections(kSectionCount);
    if (settings.given("file")) {
        const std::vector<Section> read =
            readSections("hpeq", settings.text("file"), kSectionCount);
        std::copy(read.begin(), read.end(), sections.begin());
    }
    auto hpeq = std::make_unique<HPEQFilter>();
    ParamBlock block(*hpeq, kId, kSize);
    write(numbersOf(parameters(), settings).data(), block.data());
    for (int i = 0; i < kSectionCount; ++i)
        writeSection(block.data(), sectionOffset(i), sections[static_cast<size_t>(i)]);
    block.apply("hpeq");
    return {std::move(hpeq), input};
}

}  // namespace

FilterEntry hpeqEntry() {
    return {{
                "hpeq",
                "headphone equalizer: up to three second-order sections, both channels alike",
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
