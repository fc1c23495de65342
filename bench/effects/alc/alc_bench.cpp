#include <quorvex/ALCFilter.h>

#include "bench_util.h"

namespace {

void BM_ALC(benchmark::State& state) {
    constexpr int kFrames = 1024;
    ALCFilter alc;
    unsigned char block[20];
    alc.getParamData(0x70414C43, block, sizeof block);
    const int mode = static_cast<int>(state.range(0));
    __builtin_memcpy(block + 8, &mode, sizeof mode);
    alc.setParamData(0x70414C43, block, sizeof block);

    std::vector<double> signal = bench::stereoSignal(kFrames, 44100);
    for (double& s : signal) s *= 2.5;  // drive it over full scale
    std::vector<double> outData(signal.size());
    RealAudioBuffer in(signal.data(), static_cast<int>(signal.size()),
                       static_cast<int>(signal.size()), 44100, 16);
    RealAudioBuffer out(outData.data(), static_cast<int>(outData.size()), 0, 44100, 16);
    for (auto _ : state) {
        alc.process(&in, &out);
        benchmark::DoNotOptimize(outData.data());
    }
    bench::reportFrames(state, kFrames, 44100);
}
BENCHMARK(BM_ALC)->Arg(1)->Arg(2)->ArgName("mode");

}  // namespace
