// surround: hall, natural room, live room, widening, echo and 3D image.
#include "../registry.h"

#include <cmath>
#include <cstring>
#include <iterator>

namespace quorvex::chain {

namespace {

using namespace surround_block;

static_assert(sizeof(SurroundConfigParams) == kSize, "the surround's block is its settings record");

struct Stage {
    const char* key;
    int32_t bit;
    double SurroundConfigParams::*strength;
};

constexpr Stage kStages[] = {
    {"hall", kHall, &SurroundConfigParams::egain_hall},
    {"natural", kNatural, &SurroundConfigParams::egain_natural},
    {"live", kLive, &SurroundConfigParams::gc_live},
    {"wide", kWide, &SurroundConfigParams::egain_wide},
    {"echo", kEcho, &SurroundConfigParams::egain_echo},
    {"3d", k3d, &SurroundConfigParams::egain_3d},
};

constexpr size_t kFirstStage = 1;
constexpr size_t kFirstLength = kFirstStage + std::size(kStages);

// values: enabled, the stages' strengths (NaN: not named), the three hall
// lengths, the hall's two all-pass gains, the 3D all-pass gain.
void write(const double* values, unsigned char* block) {
    SurroundConfigParams params;
    std::memcpy(&params, block, sizeof params);
    params.enabled = values[0] != 0.0;
    params.emode = 0;
    for (size_t i = 0; i < std::size(kStages); ++i) {
        const double strength = values[kFirstStage + i];
        if (std::isnan(strength)) continue;
        params.emode |= kStages[i].bit;
        params.*kStages[i].strength = strength;
    }
    if (params.emode == 0) params.emode = kHall;  // no stage named: the hall alone
    const double* rest = values + kFirstLength;
    params.hall_m1 = static_cast<int32_t>(rest[0]);
    params.hall_m2 = static_cast<int32_t>(rest[1]);
    params.hall_m3 = static_cast<int32_t>(rest[2]);
    params.hall_ga1 = rest[3];
    params.hall_ga2 = rest[4];
    params.ga_3d = rest[5];
    std::memcpy(block, &params, sizeof params);
}

std::vector<Parameter> parameters();

BuiltFilter build(const Settings& settings, const StreamFormat& input) {
    if (settings.isOn("enabled")) requireRate("surround", input, {44100, 48000, 88200, 96000});
    std::vector<double> values = numbersOf(parameters(), settings);
    for (size_t i = 0; i < std::size(kStages); ++i)
        if (!settings.given(kStages[i].key)) values[kFirstStage + i] = std::nan("");
    auto surround = std::make_unique<SurroundFilter>();
    ParamBlock block(*surround, kId, kSize);
    write(values.data(), block.data());
    block.apply("surround");
    return {std::move(surround), input};
}

Parameter gain(const char* key, const char* defaultValue, const char* help) {
    return numberParam(key, kGainMin, kGainMax, "", defaultValue, help);
}

Parameter strength(const char* key, const char* help) { return gain(key, "0.5", help); }

// Each all-pass length defaults to half its maximum.
Parameter hallLength(const char* key, int32_t max, const char* help) {
    return wholeParam(key, kHallLengthMin, max, "samples", std::to_string(max / 2), help);
}

std::vector<Parameter> parameters() {
    return {
        enabledParam(),
        strength("hall", "hall reverberation"),
        strength("natural", "natural room with tone shaping"),
        strength("live", "live room"),
        strength("wide", "stereo widening"),
        strength("echo", "echo level"),
        strength("3d", "3D image"),
        hallLength("hall-len1", kHallM1Max,
                   "first hall all-pass length at 88.2/96 kHz, halved at 44.1/48 kHz"),
        hallLength("hall-len2", kHallM2Max, "second hall all-pass length"),
        hallLength("hall-len3", kHallM3Max, "third hall all-pass length"),
        gain("hall-ap1", "0.7", "all-pass gain of the hall's first pass"),
        gain("hall-ap2", "0.8", "all-pass gain of the hall's second pass"),
        gain("3d-ap", "0.7", "all-pass gain of the 3D stage"),
    };
}

}  // namespace

FilterEntry surroundEntry() {
    return {{
                "surround",
                "room and space: naming a stage switches it on (none named: the hall)",
                "44100, 48000, 88200 and 96000 Hz",
                "set of stage settings and delay lines",
                "",
                parameters(),
            },
            build,
            nullptr,
            {kId, kSize, write}};
}

}  // namespace quorvex::chain
