// The LV2 plug-ins as a host would drive them, through their descriptors:
// any plug-in, any host rate, blocks of any length (0 and 1 included) and
// control values from the input, in or out of their ranges, moved between
// blocks. The output must stay finite for finite input within full scale.
#include "FuzzSupport.h"

#include <lv2/core/lv2.h>

#include <cmath>
#include <vector>

extern "C" const LV2_Descriptor* lv2_descriptor(uint32_t index);

namespace {

constexpr uint32_t kLongestBlock = 5000;
constexpr uint32_t kMostPorts = 24;

uint32_t pluginCount() {
    uint32_t count = 0;
    while (lv2_descriptor(count)) ++count;
    return count;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider bytes(data, size);
    static const uint32_t plugins = pluginCount();
    const LV2_Descriptor* descriptor =
        lv2_descriptor(bytes.ConsumeIntegralInRange<uint32_t>(0, plugins - 1));
    const double rate = fuzz::sampleRate(bytes);
    LV2_Handle handle = descriptor->instantiate(descriptor, rate, "", nullptr);
    if (!handle) return 0;

    // Audio ports first, two in and two out at most; every other port a control.
    std::vector<float> audio[4];
    float controls[kMostPorts] = {};
    for (auto& channel : audio) channel.assign(kLongestBlock, 0.0f);
    for (uint32_t port = 0; port < kMostPorts; ++port)
        descriptor->connect_port(handle, port,
                                 port < 4 ? static_cast<void*>(audio[port].data())
                                          : static_cast<void*>(&controls[port]));
    descriptor->activate(handle);
    while (bytes.remaining_bytes() > 0) {
        for (float& control : controls)
            if (bytes.ConsumeBool()) control = bytes.ConsumeFloatingPoint<float>();
        const uint32_t frames = bytes.ConsumeBool()
                                    ? bytes.ConsumeIntegralInRange<uint32_t>(0, 2)
                                    : bytes.ConsumeIntegralInRange<uint32_t>(0, kLongestBlock);
        for (uint32_t i = 0; i < frames; ++i)
            audio[0][i] = audio[1][i] = bytes.ConsumeFloatingPointInRange<float>(-1.0f, 1.0f);
        descriptor->run(handle, frames);
        for (uint32_t i = 0; i < frames; ++i)
            fuzz::require(std::isfinite(audio[2][i]), "a finite output sample");
    }
    descriptor->cleanup(handle);
    return 0;
}
