// The integer front ends over arbitrary bytes, rates, depths and output
// capacities: a result never exceeds the capacity, a refusal writes nothing,
// and an accepted call returns the bytes of the samples the wrapped filter
// produced. The converter wraps the library's filters or a host filter that
// scales by any factor, declares any depth, refuses, or claims more than it
// holds.
#include "FuzzSupport.h"

#include <quorvex/ALCFilter.h>
#include <quorvex/DataTypeConversionFilter.h>
#include <quorvex/DownSamplingFilter.h>
#include <quorvex/SimpleUpSamplingFilter.h>
#include <quorvex/UpSamplingFilter.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

namespace {

constexpr int kGuard = 16;
constexpr uint8_t kFill = 0xA5;

int depth(FuzzedDataProvider& bytes) {
    static const int depths[] = {16, 24, 32, 8, 0, 40, 20};
    return bytes.ConsumeIntegralInRange<int>(0, 7) == 0 ? bytes.PickValueInArray(depths)
                                                        : fuzz::bitDepth(bytes);
}

// What a host might wrap: scales every sample, which may take it past full
// scale or to NaN, and reports what the fuzz bytes chose.
class HostFilter : public RealAudioFilter {
public:
    explicit HostFilter(FuzzedDataProvider& bytes)
        : factor(fuzz::sample(bytes)),
          bits(depth(bytes)),
          refuses(bytes.ConsumeIntegralInRange<int>(0, 7) == 0),
          overclaims(bytes.ConsumeIntegralInRange<int>(0, 7) == 0) {}

    const char* getName() override { return "host"; }
    int setParamData(unsigned long, const void*, int) override { return 0; }
    int getParamData(unsigned long, void*, int) override { return 0; }
    void reset() override {}
    int process(const RealAudioBuffer* in, RealAudioBuffer* out) override {
        if (refuses || in->length > out->capacity) return -1;
        for (int i = 0; i < in->length; ++i) out->data[i] = in->data[i] * factor;
        out->length = overclaims ? out->capacity + 1 : in->length;
        out->sampleRate = in->sampleRate;
        out->bitsPerSample = bits;
        return 0;
    }

private:
    const double factor;
    const int bits;
    const bool refuses;
    const bool overclaims;
};

// The wrapped filter, and the rate and depth it hands back for an input.
struct Wrapped {
    std::unique_ptr<RealAudioFilter> filter;
    int rateNumerator = 1;
    int rateDenominator = 1;
    int bits = 0;  // 0: the input's
    bool host = false;
};

Wrapped wrap(FuzzedDataProvider& bytes) {
    Wrapped w;
    switch (bytes.ConsumeIntegralInRange<int>(0, 3)) {
        case 0: w.filter = std::make_unique<ALCFilter>(); break;
        case 1: {
            auto velmo = std::make_unique<UpSamplingFilter>();
            velmo->setUseUpSampler32(bytes.ConsumeBool());
            w.filter = std::move(velmo);
            w.rateNumerator = 2;
            w.bits = quorvex::velmo_block::kOutputBits;
            break;
        }
        case 2:
            w.bits = fuzz::bitDepth(bytes);
            w.filter = std::make_unique<DownSamplingFilter>(fuzz::bitDepth(bytes), w.bits);
            w.rateDenominator = 2;
            break;
        default:
            w.filter = std::make_unique<HostFilter>(bytes);
            w.host = true;
            break;
    }
    return w;
}

void checkResult(int result, int capacity, const std::vector<uint8_t>& out) {
    fuzz::require(result >= -1 && result <= capacity, "result within the capacity");
    for (size_t i = static_cast<size_t>(capacity); i < out.size(); ++i)
        fuzz::require(out[i] == kFill, "nothing written past the capacity");
    if (result == -1)
        for (uint8_t b : out) fuzz::require(b == kFill, "refusal wrote nothing");
}

// One call; `outRate` and `outBits` are what the caller asks for, mostly
// what the filter produces.
// Returns the result and the input's whole samples.
std::pair<int, int64_t> processOnce(FuzzedDataProvider& bytes, IntAudioFilter& filter, int inRate,
                                    int inBits, int outRate, int outBits) {
    const std::vector<uint8_t> in =
        bytes.ConsumeBytes<uint8_t>(bytes.ConsumeIntegralInRange<size_t>(0, 2048));
    const int64_t samples = inBits > 0 && inBits % 8 == 0 ? in.size() / (inBits / 8) : 0;
    const int64_t fits = inRate > 0 && outRate > 0 ? samples * outRate / inRate * 4 : 0;
    const int capacity = bytes.ConsumeBool() ? static_cast<int>(std::min<int64_t>(fits, 1 << 16))
                                             : bytes.ConsumeIntegralInRange<int>(0, 8192);
    std::vector<uint8_t> out(static_cast<size_t>(capacity) + kGuard, kFill);

    const int result = filter.process(inRate, inBits, in.data(), static_cast<int>(in.size()),
                                      outRate, outBits, out.data(), capacity);
    checkResult(result, capacity, out);
    return {result, samples};
}

void convert(FuzzedDataProvider& bytes, DataTypeConversionFilter& converter, const Wrapped& w) {
    const int inRate = fuzz::sampleRate(bytes);
    const int inBits = fuzz::bitDepth(bytes);
    int outRate =
        static_cast<int>(static_cast<int64_t>(inRate) * w.rateNumerator / w.rateDenominator);
    int outBits = w.bits == 0 ? inBits : w.bits;
    if (bytes.ConsumeIntegralInRange<int>(0, 7) == 0) {
        outRate = fuzz::sampleRate(bytes);
        outBits = depth(bytes);
    }
    const auto [result, samples] = processOnce(bytes, converter, inRate, inBits, outRate, outBits);
    if (w.host || result <= 0) return;
    const int64_t produced = samples * w.rateNumerator / w.rateDenominator;
    fuzz::require(result == (w.bits == 0 ? inBits : w.bits) / 8 * produced,
                  "the bytes of what the wrapped filter produced");
}

void hold(FuzzedDataProvider& bytes, SimpleUpSamplingFilter& upSampler) {
    const int inRate = fuzz::sampleRate(bytes);
    const int outRate = bytes.ConsumeBool() ? 2 * (inRate & 0x3fffffff) : fuzz::sampleRate(bytes);
    processOnce(bytes, upSampler, inRate, depth(bytes), outRate, depth(bytes));
}

// A host that claims an output far larger than the samples the adapter can
// hold in doubles is refused before anything is written.
bool checkHugeOutputRefused() {
    ALCFilter level;
    DataTypeConversionFilter converter(&level);
    const uint8_t in[4] = {};
    uint8_t out[kGuard];
    std::fill(std::begin(out), std::end(out), kFill);
    const int result = converter.process(1, 16, in, sizeof in, 400000000, 16, out,
                                         std::numeric_limits<int>::max());
    return result == -1 &&
           std::all_of(std::begin(out), std::end(out), [](uint8_t b) { return b == kFill; });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool hugeRefused = checkHugeOutputRefused();
    fuzz::require(hugeRefused, "an output beyond the adapter's reach is refused");
    FuzzedDataProvider bytes(data, size);
    Wrapped wrapped = wrap(bytes);
    DataTypeConversionFilter converter(wrapped.filter.get());
    SimpleUpSamplingFilter upSampler;
    while (bytes.remaining_bytes() > 0) {
        switch (bytes.ConsumeIntegralInRange<int>(0, 7)) {
            case 0: converter.reset(); break;
            case 1: {
                // The front ends pass parameter calls to what they wrap.
                unsigned char block[quorvex::alc_block::kSize] = {};
                const unsigned long id = quorvex::alc_block::kId;
                const int had = converter.getParamData(id, block, sizeof block);
                fuzz::require(converter.setParamData(id, block, sizeof block) == had,
                              "a block read back is accepted as it was");
                fuzz::require(upSampler.getParamData(id, block, sizeof block) == 0 &&
                                  upSampler.setParamData(id, block, sizeof block) == 0,
                              "the sample-and-hold has no parameters");
                fuzz::require(converter.getName() != nullptr && upSampler.getName() != nullptr,
                              "named");
                upSampler.reset();
                break;
            }
            case 2:
            case 3: hold(bytes, upSampler); break;
            default: convert(bytes, converter, wrapped); break;
        }
    }
    return 0;
}
