// The rate converters over arbitrary rates and block sequences, with their
// output counts: the decimator gives half of every block, the resamplers never
// more than a block's share and, over a stream at a fixed rate pair, exactly
// the input frames times the rate ratio, rounded down. The clean converter's
// input rate changes now and then, starting a new stream.
#include "FuzzSupport.h"

#include <quorvex/CleanResampler.h>
#include <quorvex/DownSamplingFilter.h>
#include <quorvex/ReSamplingFilter.h>

#include <algorithm>
#include <cstdint>

namespace {

constexpr int kMaxBlock = 4096;
constexpr int64_t kMaxOutput = 1 << 18;  // a steep rate ratio is tried against a short output

void decimate(FuzzedDataProvider& bytes, DownSamplingFilter& filter) {
    // Whole frame pairs, as hosts pass them.
    fuzz::InputBlock in(bytes, kMaxBlock, fuzz::sampleRate(bytes), fuzz::bitDepth(bytes));
    in.buffer.length -= in.buffer.length % 4;
    const int half = in.buffer.length / 2;
    const int capacity = std::max(0, half + bytes.ConsumeIntegralInRange<int>(-2, 2));
    fuzz::GuardedOutput out(capacity);
    out.snapshot();
    const int result = filter.process(&in.buffer, out.get());
    fuzz::require(result == (capacity >= half ? 0 : -1), "decimator accepts what fits");
    if (result == -1) return fuzz::require(out.untouched(), "refused decimation wrote nothing");
    fuzz::require(out.withinCapacity() && out.get()->length == half, "decimator length");
    fuzz::require(out.get()->sampleRate == in.buffer.sampleRate / 2, "decimator rate");
}

struct Stream {
    int64_t inFrames = 0;
    int64_t outFrames = 0;
};

void resample(FuzzedDataProvider& bytes, ReSamplingFilter& filter, int inRate, int outRate,
              Stream& stream) {
    fuzz::InputBlock in(bytes, kMaxBlock, inRate, fuzz::bitDepth(bytes));
    const int64_t expected = static_cast<int64_t>(in.buffer.length) * outRate / inRate;
    const int capacity = static_cast<int>(
        std::clamp<int64_t>(expected + bytes.ConsumeIntegralInRange<int>(-2, 2), 0, kMaxOutput));
    fuzz::GuardedOutput out(capacity);
    out.snapshot();
    const int result = filter.process(&in.buffer, out.get());
    fuzz::require(result == 0 || result == -1, "resampler result");
    if (capacity < expected) fuzz::require(result == -1, "resampler refuses a short output");
    if (result == -1) return fuzz::require(out.untouched(), "refused resampling wrote nothing");
    // The remainder carried from earlier blocks may complete one frame more
    // than this block's own share.
    fuzz::require(out.withinCapacity() && out.get()->length <= expected + 2, "resampler length");
    fuzz::require(out.get()->length % 2 == 0 && out.get()->sampleRate == outRate,
                  "resampler frames and rate");
    stream.inFrames += in.buffer.length / 2;
    stream.outFrames += out.get()->length / 2;
    fuzz::require(stream.outFrames == stream.inFrames * outRate / inRate, "stream output count");
}

struct CleanStream {
    int inRate;
    Stream counts;
};

void cleanResample(FuzzedDataProvider& bytes, quorvex::CleanResampler& filter, int outRate,
                   CleanStream& stream) {
    if (bytes.ConsumeIntegralInRange<int>(0, 15) == 0) stream = {fuzz::sampleRate(bytes), {}};
    fuzz::InputBlock in(bytes, kMaxBlock, stream.inRate, fuzz::bitDepth(bytes));
    const int64_t inFrames = stream.counts.inFrames + in.buffer.length / 2;
    const int64_t due = 2 * (inFrames * outRate / stream.inRate - stream.counts.outFrames);
    const int capacity = static_cast<int>(
        std::clamp<int64_t>(due + bytes.ConsumeIntegralInRange<int>(-2, 2), 0, kMaxOutput));
    fuzz::GuardedOutput out(capacity);
    out.snapshot();
    const int result = filter.process(&in.buffer, out.get());
    const bool converts = quorvex::CleanResampler::converts(stream.inRate, outRate);
    fuzz::require(result == (converts && capacity >= due ? 0 : -1), "clean resampler result");
    if (result == -1)
        return fuzz::require(out.untouched(), "refused clean resampling wrote nothing");
    fuzz::require(out.withinCapacity() && out.get()->length == due, "clean resampler length");
    fuzz::require(out.get()->sampleRate == outRate, "clean resampler rate");
    stream.counts.inFrames = inFrames;
    stream.counts.outFrames += due / 2;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider bytes(data, size);
    DownSamplingFilter decimator(fuzz::bitDepth(bytes), fuzz::bitDepth(bytes));
    const int inRate = fuzz::sampleRate(bytes);
    const int outRate = fuzz::sampleRate(bytes);
    // Rates without a usable common multiple leave the converter unset.
    const bool convertible = ReSamplingFilterInit(inRate, outRate) == 0;
    ReSamplingFilter resampler(inRate, 24, outRate, 24);
    Stream stream;
    quorvex::CleanResampler clean(inRate, outRate, 24);
    CleanStream cleanStream{inRate, {}};
    while (bytes.remaining_bytes() > 0) {
        if (bytes.ConsumeBool())
            decimate(bytes, decimator);
        else if (bytes.ConsumeBool())
            cleanResample(bytes, clean, outRate, cleanStream);
        else if (convertible)
            resample(bytes, resampler, inRate, outRate, stream);
        else
            bytes.ConsumeIntegral<uint8_t>();
    }
    return 0;
}
