#ifndef QUORVEX_BENCH_UTIL_H
#define QUORVEX_BENCH_UTIL_H

#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

namespace bench {

// Reports input frames per second and the realtime factor at `sampleRate`
// (frames per second / sampleRate) as counters.
inline void reportFrames(benchmark::State& state, long framesPerIteration, int sampleRate) {
    const double frames = static_cast<double>(framesPerIteration) *
                          static_cast<double>(state.iterations());
    state.counters["frames_per_s"] = benchmark::Counter(frames, benchmark::Counter::kIsRate);
    state.counters["realtime_x"] =
        benchmark::Counter(frames / sampleRate, benchmark::Counter::kIsRate);
}

// A stereo test signal: two incommensurate sines at -6 dBFS.
inline std::vector<double> stereoSignal(int frames, int sampleRate) {
    std::vector<double> v(static_cast<size_t>(frames) * 2);
    for (int i = 0; i < frames; ++i) {
        v[2 * i] = 0.5 * std::sin(2.0 * M_PI * 997.0 * i / sampleRate);
        v[2 * i + 1] = 0.5 * std::sin(2.0 * M_PI * 1499.0 * i / sampleRate);
    }
    return v;
}

}  // namespace bench

#endif
