// gain: scales both channels by a fixed number of decibels, for headroom
// before a filter that adds level or to bring a quiet result up.
#include "../registry.h"

#include <cmath>

namespace quorvex::chain {

namespace {

constexpr double kMaxGainDb = 120.0;

// A filter of the chain layer's own: one multiply per sample and nothing
// shared, so a chain may hold several.
class GainFilter : public RealAudioFilter {
public:
    explicit GainFilter(double decibels) : factor(std::pow(10.0, decibels / 20.0)) {}

    const char* getName() override { return "gain"; }
    // No parameter block: the gain is fixed when the chain is built.
    int setParamData(unsigned long, const void*, int) override { return 0; }
    int getParamData(unsigned long, void*, int) override { return 0; }
    void reset() override {}

    int process(const RealAudioBuffer* in, RealAudioBuffer* out) override {
        if (in->length > out->capacity) return -1;
        for (int i = 0; i < in->length; ++i) out->data[i] = in->data[i] * factor;
        out->length = in->length;
        out->sampleRate = in->sampleRate;
        out->bitsPerSample = in->bitsPerSample;
        return 0;
    }

private:
    const double factor;
};

BuiltFilter build(const Settings& settings, const StreamFormat& input) {
    return {std::make_unique<GainFilter>(settings.number("db")), input};
}

}  // namespace

FilterEntry gainEntry() {
    return {{
                "gain",
                "scales the level by DB decibels: gain:-3 makes room before surround or velmo",
                "any rate",
                "",
                "db",
                {
                    numberParam("db", -kMaxGainDb, kMaxGainDb, "dB", "0",
                                "level change, negative to lower"),
                },
            },
            build};
}

}  // namespace quorvex::chain
