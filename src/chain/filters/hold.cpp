// hold: integer PCM to another rate by repeating or skipping frames, and
// between 16 and 24 bits by shifting bytes; no filtering, no doubles.
#include "../registry.h"

namespace quorvex::chain {

namespace {

BuiltIntegerFilter build(const Settings& settings, const StreamFormat& input) {
    const StreamFormat output{settings.given("rate") ? static_cast<int>(settings.number("rate"))
                                                     : doubledRate("hold", input.rate),
                              chosenDepth(settings, input)};
    const bool copies = output.rate == input.rate && output.bits == input.bits;
    if (!copies && (input.bits == 32 || output.bits == 32))
        throw StreamError(
            "hold changes rate and depth of 16- and 24-bit PCM only; this source is " +
            std::to_string(input.bits) + "-bit");
    return {std::make_unique<SimpleUpSamplingFilter>(), output};
}

}  // namespace

FilterEntry holdEntry() {
    FilterEntry entry{
        {
            "hold",
            "integer PCM to another rate by repeating frames (sample and hold), 16/24-bit by "
            "byte shifts",
            "any rate; integer PCM sources, alone in its chain",
            "",
            "rate",
            {
                wholeParam("rate", 8000, 384000, "Hz", "",
                           "output rate (default: twice the input rate)"),
                depthParam({"16", "24"}),
            },
        },
        nullptr};
    entry.buildInteger = build;
    return entry;
}

}  // namespace quorvex::chain
