#include <quorvex/EqualizerFilter.h>
#include <quorvex/ParamBlocks.h>

#include <cstring>
#include <map>
#include <vector>

#include "bench_util.h"

// The filter against its own per-frame kernels, the path it took frame by
// frame before it ran its sections as a pipeline; both share the histories
// and band selection, so they run the same sections. Filter rows report
// `vs_frames`: their frames per CPU second over the per-frame row's at the
// same rate.

namespace {

namespace equalizer_block = quorvex::equalizer_block;

using FrameKernel = void (*)(double, double, double*, double*);

FrameKernel kernelAt(int rate) {
    switch (rate) {
        case 44100: return equalizer_44k;
        case 48000: return equalizer_48k;
        case 88200: return equalizer_88k;
        default: return equalizer_96k;
    }
}

void configure(EqualizerFilter& eq) {
    bench::editBlock<equalizer_block::kSize>(eq, equalizer_block::kId, [](unsigned char* block) {
        const double gains[equalizer_block::kBands] = {0.5, -0.25, 0.1, 1.0, -1.0,
                                                       0.3, -0.6,  0.2, 0.8, -0.4};
        block[equalizer_block::kEnabled] = 1;
        std::memcpy(block + equalizer_block::gainOffset(0), gains, sizeof gains);
    });
}

// One block of the test signal, frame by frame through a rate's kernel.
class FrameBlock {
public:
    explicit FrameBlock(int rate)
        : kernel(kernelAt(rate)),
          signal(bench::stereoSignal(bench::kBlockFrames, rate)),
          output(signal.size()) {}

    bool operator()() {
        for (size_t f = 0; f < signal.size(); f += 2)
            kernel(signal[f], signal[f + 1], &output[f], &output[f + 1]);
        benchmark::DoNotOptimize(output.data());
        return true;
    }

private:
    FrameKernel kernel;
    std::vector<double> signal;
    std::vector<double> output;
};

std::map<int, double>& frameRates() {
    static std::map<int, double> rates;
    return rates;
}

void BM_Equalizer_frames(benchmark::State& state) {
    const int rate = static_cast<int>(state.range(0));
    EqualizerFilter eq;
    configure(eq);
    FrameBlock block(rate);
    frameRates()[rate] = bench::runBlocks(state, block, bench::kBlockFrames, rate);
}
BENCHMARK(BM_Equalizer_frames)->Arg(44100)->Arg(48000)->Arg(88200)->Arg(96000)->ArgName("rate");

void BM_Equalizer(benchmark::State& state) {
    const int rate = static_cast<int>(state.range(0));
    EqualizerFilter eq;
    configure(eq);
    const double framesPerSecond = bench::runBlocks(state, eq, {rate, 24});
    const auto baseline = frameRates().find(rate);
    if (baseline != frameRates().end())
        state.counters["vs_frames"] = framesPerSecond / baseline->second;
}
BENCHMARK(BM_Equalizer)->Arg(44100)->Arg(48000)->Arg(88200)->Arg(96000)->ArgName("rate");

}  // namespace
