#ifndef QUORVEX_BENCH_EFFECTS_COMMON_EFFECT_BENCH_H
#define QUORVEX_BENCH_EFFECTS_COMMON_EFFECT_BENCH_H

#include <quorvex/AudioFilter.h>

#include "bench_util.h"

namespace bench {

// Pushes 1024-frame blocks through a configured effect at the rate given as
// the benchmark's argument.
inline void runEffect(benchmark::State& state, RealAudioFilter& filter) {
    constexpr int kFrames = 1024;
    const int rate = static_cast<int>(state.range(0));
    std::vector<double> signal = stereoSignal(kFrames, rate);
    std::vector<double> outData(signal.size());
    RealAudioBuffer in(signal.data(), static_cast<int>(signal.size()),
                       static_cast<int>(signal.size()), rate, 24);
    RealAudioBuffer out(outData.data(), static_cast<int>(outData.size()), 0, rate, 24);
    for (auto _ : state) {
        filter.process(&in, &out);
        benchmark::DoNotOptimize(outData.data());
    }
    reportFrames(state, kFrames, rate);
}

}  // namespace bench

#endif
