#include <quorvex/CleanResampler.h>

#include <soxr.h>

#include <memory>

#include "bench_util.h"

// The clean converter and libsoxr HQ on the same signal, rate pairs and
// block size. Our rows also time libsoxr for a moment and report
// `x_soxr_hq`, our frames per CPU second over its; its rows report the same
// ratio against ours the other way round, so either row reads on its own.

namespace {

constexpr int kFrames = bench::kBlockFrames;

struct CleanConverter {
    CleanConverter(int inRate, int outRate)
        : filter(inRate, outRate, 24),
          block(filter, {inRate, 16}, static_cast<double>(outRate) / inRate) {}

    quorvex::CleanResampler filter;
    bench::FilterBlock block;
};

class SoxrConverter {
public:
    SoxrConverter(int inRate, int outRate)
        : signal(bench::stereoSignal(kFrames, inRate)),
          output(static_cast<size_t>(4 * kFrames) * outRate / inRate + 4) {
        const soxr_io_spec_t io = soxr_io_spec(SOXR_FLOAT64_I, SOXR_FLOAT64_I);
        const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_HQ, 0);
        // One thread, as ours, like the resampler's benchmark.
        const soxr_runtime_spec_t runtime = soxr_runtime_spec(1);
        converter.reset(soxr_create(inRate, outRate, 2, nullptr, &io, &quality, &runtime));
    }

    bool operator()() {
        size_t produced = 0;
        const soxr_error_t failed = soxr_process(converter.get(), signal.data(), kFrames, nullptr,
                                                 output.data(), output.size() / 2, &produced);
        benchmark::DoNotOptimize(output.data());
        return failed == nullptr;
    }

private:
    std::vector<double> signal;
    std::vector<double> output;
    std::unique_ptr<soxr, decltype(&soxr_delete)> converter{nullptr, soxr_delete};
};

void BM_Clean_quorvex(benchmark::State& state) {
    const int inRate = static_cast<int>(state.range(0));
    const int outRate = static_cast<int>(state.range(1));
    CleanConverter ours(inRate, outRate);
    const double framesPerSecond = bench::runBlocks(state, ours.block, kFrames, inRate);
    SoxrConverter peer(inRate, outRate);
    state.counters["x_soxr_hq"] = framesPerSecond / bench::glanceFramesPerSecond(peer, kFrames);
}

void BM_Clean_soxr_hq(benchmark::State& state) {
    const int inRate = static_cast<int>(state.range(0));
    const int outRate = static_cast<int>(state.range(1));
    SoxrConverter peer(inRate, outRate);
    const double framesPerSecond = bench::runBlocks(state, peer, kFrames, inRate);
    CleanConverter ours(inRate, outRate);
    state.counters["x_clean"] = framesPerSecond / bench::glanceFramesPerSecond(ours.block, kFrames);
}

void ratePairs(benchmark::internal::Benchmark* b) {
    b->ArgNames({"in", "out"});
    for (auto pair : {std::pair<int, int>{44100, 48000},
                      {48000, 44100},
                      {44100, 96000},
                      {96000, 44100},
                      {96000, 48000}})
        b->Args({pair.first, pair.second});
}

BENCHMARK(BM_Clean_quorvex)->Apply(ratePairs);
BENCHMARK(BM_Clean_soxr_hq)->Apply(ratePairs);

}  // namespace
