#include <quorvex/ReSamplingFilter.h>

#include <samplerate.h>
#include <soxr.h>

#include <map>
#include <utility>

#include "bench_util.h"
#include "rate/resampling/ReSamplingState.h"

// The resampler and two peer converters on the same signal, rate pairs and
// block size. Peers report `vs_quorvex`: their frames per CPU second divided
// by ours on the same rate pair. The `baseline` rows run the resampler with
// its sums at most four outputs at a time, and ours report `vs_baseline`.

namespace {

constexpr int kFrames = bench::kBlockFrames;

// Our resampler with a block of the signal at `inRate`, 16-bit in and
// 24-bit out.
struct OurConverter {
    OurConverter(int inRate, int outRate)
        : filter(inRate, 16, outRate, 24),
          block(filter, {inRate, 16}, static_cast<double>(outRate) / inRate) {}

    ReSamplingFilter filter;
    bench::FilterBlock block;
};

// Our frames per CPU second for each rate pair, as last measured.
std::map<std::pair<int, int>, double>& ourRates() {
    static std::map<std::pair<int, int>, double> rates;
    return rates;
}

double ourFramesPerSecond(int inRate, int outRate) {
    auto found = ourRates().find({inRate, outRate});
    if (found != ourRates().end()) return found->second;
    OurConverter converter(inRate, outRate);
    return ourRates()[{inRate, outRate}] = bench::glanceFramesPerSecond(converter.block, kFrames);
}

// A peer's blocks through the shared loop, with its speed against ours.
template <typename Block>
void runPeer(benchmark::State& state, int inRate, int outRate, Block block) {
    const double framesPerSecond = bench::runBlocks(state, block, kFrames, inRate);
    state.counters["vs_quorvex"] = framesPerSecond / ourFramesPerSecond(inRate, outRate);
}

// Frames per CPU second of the baseline for each rate pair, as last measured.
std::map<std::pair<int, int>, double>& baselineRates() {
    static std::map<std::pair<int, int>, double> rates;
    return rates;
}

void BM_ReSampling_baseline(benchmark::State& state) {
    const int inRate = static_cast<int>(state.range(0));
    const int outRate = static_cast<int>(state.range(1));
    OurConverter converter(inRate, outRate);
    ReSamplingFilterUseBlockKernels(false);
    baselineRates()[{inRate, outRate}] = bench::runBlocks(state, converter.block, kFrames, inRate);
    ReSamplingFilterUseBlockKernels(true);
}

void BM_ReSampling_quorvex(benchmark::State& state) {
    const int inRate = static_cast<int>(state.range(0));
    const int outRate = static_cast<int>(state.range(1));
    OurConverter converter(inRate, outRate);
    const double framesPerSecond = bench::runBlocks(state, converter.block, kFrames, inRate);
    ourRates()[{inRate, outRate}] = framesPerSecond;
    auto baseline = baselineRates().find({inRate, outRate});
    if (baseline != baselineRates().end())
        state.counters["vs_baseline"] = framesPerSecond / baseline->second;
}

void BM_ReSampling_soxr_hq(benchmark::State& state) {
    const int inRate = static_cast<int>(state.range(0));
    const int outRate = static_cast<int>(state.range(1));
    const std::vector<double> signal = bench::stereoSignal(kFrames, inRate);
    std::vector<double> output(static_cast<size_t>(4 * kFrames) * outRate / inRate + 4);
    const soxr_io_spec_t io = soxr_io_spec(SOXR_FLOAT64_I, SOXR_FLOAT64_I);
    const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_HQ, 0);
    // One thread, as ours: with more, the time of the others would escape
    // this thread's CPU clock. Interleaved doubles in and out, as ours.
    const soxr_runtime_spec_t runtime = soxr_runtime_spec(1);
    soxr_error_t error = nullptr;
    soxr_t soxr = soxr_create(inRate, outRate, 2, &error, &io, &quality, &runtime);
    if (error != nullptr) {
        state.SkipWithError(error);
        return;
    }
    runPeer(state, inRate, outRate, [&] {
        size_t consumed = 0;
        size_t produced = 0;
        const soxr_error_t failed = soxr_process(soxr, signal.data(), kFrames, &consumed,
                                                 output.data(), output.size() / 2, &produced);
        benchmark::DoNotOptimize(output.data());
        return failed == nullptr;
    });
    soxr_delete(soxr);
}

void libsamplerate(benchmark::State& state, int converterType) {
    const int inRate = static_cast<int>(state.range(0));
    const int outRate = static_cast<int>(state.range(1));
    const std::vector<double> source = bench::stereoSignal(kFrames, inRate);
    std::vector<float> signal(source.begin(), source.end());  // its native sample type
    std::vector<float> output(static_cast<size_t>(4 * kFrames) * outRate / inRate + 4);
    int error = 0;
    SRC_STATE* src = src_new(converterType, 2, &error);
    if (src == nullptr) {
        state.SkipWithError(src_strerror(error));
        return;
    }
    SRC_DATA data{};
    data.src_ratio = static_cast<double>(outRate) / inRate;
    runPeer(state, inRate, outRate, [&] {
        data.data_in = signal.data();
        data.input_frames = kFrames;
        data.data_out = output.data();
        data.output_frames = static_cast<long>(output.size() / 2);
        const int failed = src_process(src, &data);
        benchmark::DoNotOptimize(output.data());
        return failed == 0;
    });
    src_delete(src);
}

void BM_ReSampling_libsamplerate_best(benchmark::State& state) {
    libsamplerate(state, SRC_SINC_BEST_QUALITY);
}

void BM_ReSampling_libsamplerate_medium(benchmark::State& state) {
    libsamplerate(state, SRC_SINC_MEDIUM_QUALITY);
}

void ratePairs(benchmark::internal::Benchmark* b) {
    b->ArgNames({"in", "out"});
    for (auto pair :
         {std::pair<int, int>{44100, 48000}, {48000, 44100}, {32000, 44100}, {48000, 48000}})
        b->Args({pair.first, pair.second});
}

BENCHMARK(BM_ReSampling_baseline)->Apply(ratePairs);
BENCHMARK(BM_ReSampling_quorvex)->Apply(ratePairs);
BENCHMARK(BM_ReSampling_soxr_hq)->Apply(ratePairs);
BENCHMARK(BM_ReSampling_libsamplerate_best)->Apply(ratePairs);
BENCHMARK(BM_ReSampling_libsamplerate_medium)->Apply(ratePairs);

}  // namespace
