// The integer front ends over arbitrary bytes, rates, depths and output
// capacities: a result never exceeds the capacity, and a refusal writes
// nothing.
#include "FuzzSupport.h"

#include <quorvex/ALCFilter.h>
#include <quorvex/DataTypeConversionFilter.h>
#include <quorvex/SimpleUpSamplingFilter.h>

#include <cstdint>
#include <vector>

namespace {

constexpr int kGuard = 16;
constexpr uint8_t kFill = 0xA5;

int depth(FuzzedDataProvider& bytes) {
    static const int depths[] = {16, 24, 32, 8, 0, 40};
    return bytes.ConsumeIntegralInRange<int>(0, 7) == 0 ? bytes.PickValueInArray(depths)
                                                        : fuzz::bitDepth(bytes);
}

void processOnce(FuzzedDataProvider& bytes, IntAudioFilter& filter, bool sameFormat) {
    const int inRate = fuzz::sampleRate(bytes);
    const int inBits = fuzz::bitDepth(bytes);
    const int outRate = sameFormat ? inRate : fuzz::sampleRate(bytes);
    const int outBits = sameFormat ? inBits : depth(bytes);
    const std::vector<uint8_t> in =
        bytes.ConsumeBytes<uint8_t>(bytes.ConsumeIntegralInRange<size_t>(0, 2048));
    const int capacity = bytes.ConsumeIntegralInRange<int>(0, 8192);
    std::vector<uint8_t> out(static_cast<size_t>(capacity) + kGuard, kFill);

    const int result = filter.process(inRate, inBits, in.data(), static_cast<int>(in.size()),
                                      outRate, outBits, out.data(), capacity);
    fuzz::require(result >= -1 && result <= capacity, "result within the capacity");
    for (size_t i = static_cast<size_t>(capacity); i < out.size(); ++i)
        fuzz::require(out[i] == kFill, "nothing written past the capacity");
    if (result == -1)
        for (uint8_t b : out) fuzz::require(b == kFill, "refusal wrote nothing");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider bytes(data, size);
    ALCFilter level;
    DataTypeConversionFilter converter(&level);
    SimpleUpSamplingFilter upSampler;
    while (bytes.remaining_bytes() > 0) {
        // The converter's chain of effects keeps rate and depth, and callers
        // are required to ask for what it produces.
        if (bytes.ConsumeBool())
            processOnce(bytes, converter, true);
        else
            processOnce(bytes, upSampler, false);
    }
    return 0;
}
