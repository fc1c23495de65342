#include <quorvex/DownSamplingFilter.h>

#include "bench_util.h"

namespace {

void BM_DownSampling(benchmark::State& state) {
    constexpr int kFrames = 1024;
    DownSamplingFilter filter(24, 24);
    std::vector<double> signal = bench::stereoSignal(kFrames, 96000);
    std::vector<double> output(kFrames);
    RealAudioBuffer in(signal.data(), 2 * kFrames, 2 * kFrames, 96000, 24);
    RealAudioBuffer out(output.data(), kFrames, 0, 48000, 24);
    for (auto _ : state) {
        filter.process(&in, &out);
        benchmark::DoNotOptimize(output.data());
    }
    bench::reportFrames(state, kFrames, 96000);
}
BENCHMARK(BM_DownSampling);

}  // namespace
