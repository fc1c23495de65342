#include <quorvex/SurroundFilter.h>

#include "bench_util.h"

namespace {

constexpr unsigned long kId = 0x70535252;

// One block of 1024 frames through the stages in `emode` (0x3F: all six).
void BM_Surround(benchmark::State& state) {
    constexpr int kFrames = 1024;
    const int emode = static_cast<int>(state.range(0));
    const int rate = static_cast<int>(state.range(1));
    SurroundFilter surround;
    SurroundConfigParams params;
    surround.getParamData(kId, &params, sizeof params);
    params.enabled = true;
    params.emode = emode;
    surround.setParamData(kId, &params, sizeof params);

    std::vector<double> signal = bench::stereoSignal(kFrames, rate);
    std::vector<double> outData(signal.size());
    RealAudioBuffer in(signal.data(), static_cast<int>(signal.size()),
                       static_cast<int>(signal.size()), rate, 24);
    RealAudioBuffer out(outData.data(), static_cast<int>(outData.size()), 0, rate, 24);
    for (auto _ : state) {
        surround.process(&in, &out);
        benchmark::DoNotOptimize(outData.data());
    }
    bench::reportFrames(state, kFrames, rate);
}
BENCHMARK(BM_Surround)
    ->ArgNames({"emode", "rate"})
    ->ArgsProduct({{0x3F, 0x01, 0x02, 0x04, 0x08, 0x10, 0x20}, {44100, 96000}});

// The cost of a reset or an effective parameter change: clearing the lines.
void BM_SurroundReset(benchmark::State& state) {
    SurroundFilter surround;
    for (auto _ : state) surround.reset();
}
BENCHMARK(BM_SurroundReset);

}  // namespace
