#ifndef QUORVEX_BENCH_UTIL_H
#define QUORVEX_BENCH_UTIL_H

#include <quorvex/AudioFilter.h>

#include <benchmark/benchmark.h>

#include <time.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

namespace bench {

// Every benchmark pushes blocks of this many frames, so figures compare.
inline constexpr int kBlockFrames = 1024;

// Reports input frames per second and the realtime factor at `sampleRate`
// (frames per second / sampleRate) as counters.
inline void reportFrames(benchmark::State& state, long framesPerIteration, int sampleRate) {
    const double frames =
        static_cast<double>(framesPerIteration) * static_cast<double>(state.iterations());
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

inline double threadCpuSeconds() {
    timespec now;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

// The one timed loop: `block` processes `frames` input frames per call and
// says whether it succeeded; a refusal ends the run as an error rather than
// timing a filter that does nothing. Reports frames_per_s and realtime_x at
// `reportRate` and returns the frames per CPU second of this thread.
template <typename Block>
double runBlocks(benchmark::State& state, Block&& block, int frames, int reportRate) {
    const double start = threadCpuSeconds();
    for (auto _ : state) {
        if (!block()) {
            state.SkipWithError("the block was refused");
            break;
        }
    }
    const double seconds = threadCpuSeconds() - start;
    reportFrames(state, frames, reportRate);
    return static_cast<double>(frames) * static_cast<double>(state.iterations()) / seconds;
}

// Frames per CPU second of `block`, `frames` input frames a call, over a
// short run outside the timed loop: a peer's speed beside a row's own.
template <typename Block>
double glanceFramesPerSecond(Block& block, int frames) {
    const double start = threadCpuSeconds();
    long blocks = 0;
    for (; threadCpuSeconds() - start < 0.3; ++blocks) block();
    return static_cast<double>(blocks) * frames / (threadCpuSeconds() - start);
}

// The input of a filter's block.
struct BlockFormat {
    int sampleRate;
    int bitsPerSample;
    int frames = kBlockFrames;
};

// One block of the test signal, scaled by `level`, through a filter into an
// output with room for `outputFramesPerInputFrame` times its frames and one
// frame more (a rate converter may complete a frame carried over).
class FilterBlock {
public:
    FilterBlock(RealAudioFilter& filter, BlockFormat format, double outputFramesPerInputFrame,
                double level = 1.0)
        : filter(filter),
          signal(stereoSignal(format.frames, format.sampleRate)),
          output(outputDoubles(format.frames, outputFramesPerInputFrame)),
          in(signal.data(), static_cast<int>(signal.size()), static_cast<int>(signal.size()),
             format.sampleRate, format.bitsPerSample),
          out(output.data(), static_cast<int>(output.size()), 0, format.sampleRate,
              format.bitsPerSample) {
        for (double& s : signal) s *= level;
    }

    bool operator()() {
        const int status = filter.process(&in, &out);
        benchmark::DoNotOptimize(output.data());
        return status == 0;
    }

private:
    static size_t outputDoubles(int frames, double outputFramesPerInputFrame) {
        return 2 * (static_cast<size_t>(std::ceil(frames * outputFramesPerInputFrame)) + 1);
    }

    RealAudioFilter& filter;
    std::vector<double> signal;
    std::vector<double> output;
    RealAudioBuffer in;
    RealAudioBuffer out;
};

// Blocks of the test signal in `format` through `filter`, reported at the
// input's rate.
inline double runBlocks(benchmark::State& state, RealAudioFilter& filter, BlockFormat format,
                        double outputFramesPerInputFrame = 1.0) {
    FilterBlock block(filter, format, outputFramesPerInputFrame);
    return runBlocks(state, block, format.frames, format.sampleRate);
}

// Reads a filter's parameter block, lets `edit` change its bytes and stores
// it back.
template <int Size, typename Edit>
void editBlock(RealAudioFilter& filter, unsigned long id, Edit edit) {
    std::array<unsigned char, Size> block{};
    filter.getParamData(id, block.data(), Size);
    edit(block.data());
    filter.setParamData(id, block.data(), Size);
}

}  // namespace bench

#endif
