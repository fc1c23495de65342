// The rate converters over arbitrary rates and block sequences, with their
// output counts: the decimator gives half of every block, the resamplers never
// more than a block's share and, over a stream at a fixed rate pair, exactly
// the input frames times the rate ratio, rounded down. Streams change rate
// and restart midway, and now and then one runs long enough to wrap the
// resampler's input ring and to be cut into pieces. The clean converter's
// input rate changes now and then, starting a new stream, as a reset does.
#include "FuzzSupport.h"

#include <quorvex/CleanResampler.h>
#include <quorvex/DownSamplingFilter.h>
#include <quorvex/ReSamplingFilter.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace {

constexpr int kMaxBlock = 4096;
constexpr int64_t kMaxOutput = 1 << 18;  // a steep rate ratio is tried against a short output

void decimate(FuzzedDataProvider& bytes, DownSamplingFilter& filter) {
    // Mostly whole frame pairs, as hosts pass them.
    fuzz::InputBlock in(bytes, kMaxBlock, fuzz::sampleRate(bytes), fuzz::bitDepth(bytes));
    if (bytes.ConsumeBool()) in.buffer.length -= in.buffer.length % 4;
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

// One stream through the shared converter: its rates and what it has taken
// and given since it was last set up.
struct Stream {
    int inRate;
    int outRate;
    int64_t inFrames = 0;
    int64_t outFrames = 0;

    void restart(int rate) {
        inRate = rate;
        inFrames = outFrames = 0;
    }
};

// Runs one block at the stream's rate and checks what comes out.
void runBlock(fuzz::InputBlock& in, int slack, ReSamplingFilter& filter, Stream& stream) {
    const int64_t expected =
        static_cast<int64_t>(in.buffer.length) * stream.outRate / stream.inRate;
    const int capacity = static_cast<int>(std::clamp<int64_t>(expected + slack, 0, kMaxOutput));
    fuzz::GuardedOutput out(capacity);
    out.snapshot();
    const int result = filter.process(&in.buffer, out.get());
    fuzz::require(result == 0 || result == -1, "resampler result");
    if (capacity < expected) fuzz::require(result == -1, "resampler refuses a short output");
    if (result == -1) return fuzz::require(out.untouched(), "refused resampling wrote nothing");
    // The remainder carried from earlier blocks may complete one frame more
    // than this block's own share.
    fuzz::require(out.withinCapacity() && out.get()->length <= expected + 2, "resampler length");
    fuzz::require(out.get()->length % 2 == 0 && out.get()->sampleRate == stream.outRate,
                  "resampler frames and rate");
    stream.inFrames += in.buffer.length / 2;
    stream.outFrames += out.get()->length / 2;
    fuzz::require(stream.outFrames == stream.inFrames * stream.outRate / stream.inRate,
                  "stream output count");
}

// The rate at which the converter filters: the first of 1023 multiples of
// the higher rate that the lower one divides, if it fits in an int; 0 where
// the converter refuses the pair. Worked out here, since setting the shared
// converter up to ask it costs as much as a run.
int64_t commonMultiple(int a, int b) {
    if (a <= 0 || b <= 0) return 0;
    const int64_t high = std::max(a, b);
    const int64_t low = std::min(a, b);
    for (int64_t j = 1; j <= 1023; ++j)
        if (high * j % low == 0) return high * j <= INT_MAX ? high * j : 0;
    return 0;
}

// Input frames a block may hold without making one run slow: each output
// sums a window of about 8192 / up input frames, up being the factor from
// the input rate to the common multiple.
int affordableFrames(const Stream& stream) {
    constexpr int64_t kProductsPerBlock = 1 << 16;
    const int64_t window =
        int64_t{8192} * stream.inRate / commonMultiple(stream.inRate, stream.outRate) + 1;
    const int64_t perFrame = std::max<int64_t>(1, window * stream.outRate / stream.inRate);
    return static_cast<int>(std::clamp<int64_t>(kProductsPerBlock / perFrame, 16, kMaxBlock / 2));
}

void resample(FuzzedDataProvider& bytes, ReSamplingFilter& filter, Stream& stream) {
    fuzz::InputBlock in(bytes, 2 * affordableFrames(stream), stream.inRate, fuzz::bitDepth(bytes));
    runBlock(in, bytes.ConsumeIntegralInRange<int>(-2, 2), filter, stream);
}

// A block at a new input rate sets the converter up again; only rates it can
// pair with the output rate are sent, since otherwise it keeps the old pair.
// The rate it already has is no change: that stream goes on.
void changeRate(FuzzedDataProvider& bytes, ReSamplingFilter& filter, Stream& stream) {
    const int rate = fuzz::sampleRate(bytes);
    if (commonMultiple(rate, stream.outRate) == 0) return;
    if (rate != stream.inRate) stream.restart(rate);
    fuzz::InputBlock in(bytes, 2 * affordableFrames(stream), rate, fuzz::bitDepth(bytes));
    runBlock(in, 0, filter, stream);
}

// More frames than one call of the converter takes and than its ring holds,
// at a rate pair that keeps the run short: few outputs, each from a window
// of about nine inputs, windows close enough that one straddles the ring's
// end.
void longStream(FuzzedDataProvider& bytes, ReSamplingFilter& filter, Stream& stream) {
    constexpr int kFrames = 70000;
    Stream longOne{8000, 1009};
    ReSamplingFilter converter(longOne.inRate, 16, longOne.outRate, 16);
    const double step = bytes.ConsumeFloatingPointInRange<double>(0.0, 1.0);
    std::vector<double> samples(2 * kFrames);
    for (size_t i = 0; i < samples.size(); ++i)
        samples[i] = std::sin(step * static_cast<double>(i));
    fuzz::InputBlock in(bytes, 0, longOne.inRate, 16);
    in.samples = std::move(samples);
    in.buffer.data = in.samples.data();
    in.buffer.capacity = in.buffer.length = 2 * kFrames;
    runBlock(in, 0, converter, longOne);
    // The shared converter goes back to the fuzzed stream, from its start.
    filter.reset();
    stream.restart(stream.inRate);
}

// The kernel's own refusals: a block beyond its limit and an output too short.
void refusals(ReSamplingFilter& filter, Stream& stream) {
    std::vector<double> block(2 * 32768 + 2);
    double out[2];
    fuzz::require(
        ReSamplingFilterProcess(static_cast<int>(block.size()), block.data(), 2, out) == -1,
        "a block beyond the limit is refused");
    if (static_cast<int64_t>(block.size()) / 2 * stream.outRate / stream.inRate > 1)
        fuzz::require(
            ReSamplingFilterProcess(static_cast<int>(block.size()) - 2, block.data(), 2, out) == -1,
            "a short output is refused");
    fuzz::require(filter.getParamData(0, nullptr, 0) == 0 &&
                      filter.setParamData(0, nullptr, 0) == 0 && filter.getName() != nullptr,
                  "no parameters");
}

struct CleanStream {
    int inRate;
    Stream counts;
};

void cleanResample(FuzzedDataProvider& bytes, quorvex::CleanResampler& filter, int outRate,
                   CleanStream& stream) {
    // A new rate starts a new stream; the rate the stream has is no change.
    const int rate =
        bytes.ConsumeIntegralInRange<int>(0, 15) == 0 ? fuzz::sampleRate(bytes) : stream.inRate;
    const bool changed = rate != stream.inRate;
    if (changed) stream = {rate, {}};
    fuzz::InputBlock in(bytes, kMaxBlock, stream.inRate, fuzz::bitDepth(bytes));
    const bool converts = quorvex::CleanResampler::converts(stream.inRate, outRate);
    const int64_t inFrames = stream.counts.inFrames + in.buffer.length / 2;
    // A pair the converter refuses has no output due; rates may be 0 or negative.
    const int64_t due =
        converts ? 2 * (inFrames * outRate / stream.inRate - stream.counts.outFrames) : 0;
    // Until a block at a new rate arrives, the converter still has the old one.
    if (!changed)
        fuzz::require(2 * filter.outputFrames(in.buffer.length / 2) == due,
                      "clean converter's output count");
    const int capacity = static_cast<int>(
        std::clamp<int64_t>(due + bytes.ConsumeIntegralInRange<int>(-2, 2), 0, kMaxOutput));
    fuzz::GuardedOutput out(capacity);
    out.snapshot();
    const int result = filter.process(&in.buffer, out.get());
    fuzz::require(result == (converts && capacity >= due ? 0 : -1), "clean resampler result");
    if (result == -1)
        return fuzz::require(out.untouched(), "refused clean resampling wrote nothing");
    fuzz::require(out.withinCapacity() && out.get()->length == due, "clean resampler length");
    fuzz::require(out.get()->sampleRate == outRate, "clean resampler rate");
    stream.counts.inFrames = inFrames;
    stream.counts.outFrames += due / 2;
}

// Designing a clean converter's table costs more than most runs, so each
// input takes one already designed for its rate pair and resets it, which
// starts a new stream as a fresh one would; converters whose input rate
// changed go back under their new pair.
class CleanConverters {
public:
    std::unique_ptr<quorvex::CleanResampler> take(int inRate, int outRate) {
        const auto found = kept.find({inRate, outRate});
        if (found == kept.end())
            return std::make_unique<quorvex::CleanResampler>(inRate, outRate, 24);
        auto converter = std::move(found->second);
        kept.erase(found);
        converter->reset();
        return converter;
    }

    void giveBack(std::unique_ptr<quorvex::CleanResampler> converter, int inRate, int outRate) {
        if (kept.size() >= kMostKept) kept.clear();
        kept.emplace(std::make_pair(inRate, outRate), std::move(converter));
    }

private:
    static constexpr size_t kMostKept = 64;
    std::map<std::pair<int, int>, std::unique_ptr<quorvex::CleanResampler>> kept;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // Before any rate pair is set up, the converter refuses.
    static const bool unsetRefused = ReSamplingFilterProcess(0, nullptr, 0, nullptr) == -1;
    fuzz::require(unsetRefused, "the converter refuses before it is set up");

    FuzzedDataProvider bytes(data, size);
    DownSamplingFilter decimator(fuzz::bitDepth(bytes), fuzz::bitDepth(bytes));
    Stream stream{fuzz::sampleRate(bytes), fuzz::sampleRate(bytes)};
    // Rates without a usable common multiple leave the converter as it was.
    const bool convertible = commonMultiple(stream.inRate, stream.outRate) != 0;
    ReSamplingFilter resampler(stream.inRate, 24, stream.outRate, 24);
    static CleanConverters cleanConverters;
    auto cleanConverter = cleanConverters.take(stream.inRate, stream.outRate);
    quorvex::CleanResampler& clean = *cleanConverter;
    CleanStream cleanStream{stream.inRate, {}};
    while (bytes.remaining_bytes() > 0) {
        const int choice = bytes.ConsumeIntegralInRange<int>(0, 255);
        if (choice < 96) {
            decimate(bytes, decimator);
        } else if (choice < 104) {
            decimator.reset();
            fuzz::require(decimator.getParamData(0, nullptr, 0) == 0 &&
                              decimator.setParamData(0, nullptr, 0) == 0 &&
                              decimator.getName() != nullptr,
                          "the decimator has no parameters");
            if (convertible) resampler.reset();
            stream.restart(stream.inRate);
            // A reset clean converter starts its stream again at the rate it has.
            clean.reset();
            cleanStream.counts = {};
            fuzz::require(clean.getParamData(0, nullptr, 0) == 0 &&
                              clean.setParamData(0, nullptr, 0) == 0 && clean.getName() != nullptr,
                          "the clean converter has no parameters");
        } else if (choice < 144) {
            cleanResample(bytes, clean, stream.outRate, cleanStream);
        } else if (!convertible) {
            continue;
        } else if (choice < 224) {
            resample(bytes, resampler, stream);
        } else if (choice < 244) {
            changeRate(bytes, resampler, stream);
        } else if (choice < 255) {
            refusals(resampler, stream);
        } else {
            longStream(bytes, resampler, stream);
        }
    }
    cleanConverters.giveBack(std::move(cleanConverter), cleanStream.inRate, stream.outRate);
    return 0;
}
