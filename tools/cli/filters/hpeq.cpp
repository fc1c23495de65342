// hpeq: the headphone equalizer, three sections designed for the headphones.
#include "error.h"
#include "registry.h"
#include "sections_file.h"

namespace {

constexpr unsigned long kId = 0x70504143;  // pPAC
constexpr int kBlockSize = 152;
constexpr int kOffEnabled = 4;
constexpr int kOffSections = 8;
constexpr int kSectionBytes = 48;
constexpr int kSections = 3;

BuiltFilter build(const ParamValues& values, const StreamFormat& input) {
    if (values.isOn("enabled"))
        requireHighRate("hpeq", input);
    std::vector<Section> sections(kSections);
    if (values.given("file")) {
        const std::vector<Section> read = readSections("hpeq", values.text("file"), kSections);
        std::copy(read.begin(), read.end(), sections.begin());
    }
    auto hpeq = std::make_unique<HPEQFilter>();
    ParamBlock block(*hpeq, kId, kBlockSize);
    block.setByte(kOffEnabled, values.isOn("enabled"));
    for (int i = 0; i < kSections; ++i) putSection(block, kOffSections + kSectionBytes * i, sections[i]);
    block.apply("hpeq");
    return {std::move(hpeq), input};
}

const FilterRegistration registration({
    "hpeq",
    "headphone equalizer: up to three second-order sections, both channels alike",
    "88200 and 96000 Hz",
    "set of coefficients and filter history",
    "file",
    {
        switchParam("enabled", "on", "off passes the audio through unchanged"),
        pathParam("file", "sections, one a line: b0 b1 b2 a0 a1 a2 (missing ones pass; none: all pass)"),
    },
    build,
});

}  // namespace
