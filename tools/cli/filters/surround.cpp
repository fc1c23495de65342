// surround: hall, natural room, live room, widening, echo and 3D image.
#include "error.h"
#include "registry.h"

namespace {

constexpr unsigned long kId = 0x70535252;  // pSRR

struct Stage {
    const char* key;
    int bit;
    double SurroundConfigParams::*strength;
};

constexpr Stage kStages[] = {
    {"hall", 0x01, &SurroundConfigParams::egain_hall},
    {"natural", 0x02, &SurroundConfigParams::egain_natural},
    {"live", 0x04, &SurroundConfigParams::gc_live},
    {"wide", 0x08, &SurroundConfigParams::egain_wide},
    {"echo", 0x10, &SurroundConfigParams::egain_echo},
    {"3d", 0x20, &SurroundConfigParams::egain_3d},
};

BuiltFilter build(const ParamValues& values, const StreamFormat& input) {
    if (values.isOn("enabled")) requireRate("surround", input, {44100, 48000, 88200, 96000});
    auto surround = std::make_unique<SurroundFilter>();
    SurroundConfigParams params;
    surround->getParamData(kId, &params, sizeof params);
    params.enabled = values.isOn("enabled");
    params.emode = 0;
    for (const Stage& stage : kStages) {
        if (!values.given(stage.key)) continue;
        params.emode |= stage.bit;
        params.*stage.strength = values.number(stage.key);
    }
    if (params.emode == 0) params.emode = 0x01;  // no stage named: the hall alone
    params.hall_m1 = static_cast<int32_t>(values.number("hall-len1"));
    params.hall_m2 = static_cast<int32_t>(values.number("hall-len2"));
    params.hall_m3 = static_cast<int32_t>(values.number("hall-len3"));
    params.hall_ga1 = values.number("hall-ap1");
    params.hall_ga2 = values.number("hall-ap2");
    params.ga_3d = values.number("3d-ap");
    if (surround->setParamData(kId, &params, sizeof params) != sizeof params)
        throw CliError("surround: the filter refused these settings");
    return {std::move(surround), input};
}

ParamDef strength(const char* key, const char* help) {
    return numberParam(key, 0.0, 1.0, "", "0.5", help);
}

const FilterRegistration registration({
    "surround",
    "room and space: naming a stage switches it on (none named: the hall)",
    "44100, 48000, 88200 and 96000 Hz",
    "set of stage settings and delay lines",
    "",
    {
        switchParam("enabled", "on", "off passes the audio through unchanged"),
        strength("hall", "hall reverberation"),
        strength("natural", "natural room with tone shaping"),
        strength("live", "live room"),
        strength("wide", "stereo widening"),
        strength("echo", "echo level"),
        strength("3d", "3D image"),
        wholeParam("hall-len1", 17, 8456, "samples", "4228",
                    "first hall all-pass length at 88.2/96 kHz, halved at 44.1/48 kHz"),
        wholeParam("hall-len2", 17, 7708, "samples", "3854", "second hall all-pass length"),
        wholeParam("hall-len3", 17, 5460, "samples", "2730", "third hall all-pass length"),
        numberParam("hall-ap1", 0.0, 1.0, "", "0.7", "all-pass gain of the hall's first pass"),
        numberParam("hall-ap2", 0.0, 1.0, "", "0.8", "all-pass gain of the hall's second pass"),
        numberParam("3d-ap", 0.0, 1.0, "", "0.7", "all-pass gain of the 3D stage"),
    },
    build,
});

}  // namespace
