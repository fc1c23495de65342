#include <quorvex/fft.h>

#include "bench_util.h"

namespace {

// A forward and an inverse transform per iteration keep the data bounded;
// the tables are built once, before timing.
void BM_FFT(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    std::vector<double> signal = bench::stereoSignal(n / 2, 44100);
    std::vector<double> re(signal.begin(), signal.end());
    std::vector<double> im(n, 0.0);
    fft(n, re.data(), im.data());
    for (auto _ : state) {
        fft(n, re.data(), im.data());
        fft(-n, re.data(), im.data());
        benchmark::DoNotOptimize(re.data());
    }
    state.counters["transforms_per_s"] = benchmark::Counter(
        2.0 * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_FFT)->Arg(1024)->Arg(4096)->ArgName("n");

}  // namespace
