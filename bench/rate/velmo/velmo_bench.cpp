#include <quorvex/UpSamplingFilter.h>

#include "bench_util.h"

namespace {

enum Path { kOff, kCD, kMP3, kCD32, kMP332 };

// One 1024-frame block per iteration through each kernel path. The 33-tap
// high bands run only for 16-bit input at 48 kHz; every path is reported in
// realtime at 44.1 kHz so the figures compare directly.
void BM_UpSampling(benchmark::State& state, Path path) {
    constexpr int kFrames = 1024;
    constexpr unsigned long kId = 0x70564C43;

    UpSamplingFilter filter;
    unsigned char block[20];
    filter.getParamData(kId, block, sizeof block);
    block[8] = path == kOff ? 0 : 1;
    block[9] = (path == kMP3 || path == kMP332) ? 1 : 0;
    filter.setParamData(kId, block, sizeof block);
    filter.setUseUpSampler32(path == kCD32 || path == kMP332);
    const int rate = (path == kCD32 || path == kMP332) ? 48000 : 44100;

    std::vector<double> signal = bench::stereoSignal(kFrames, rate);
    std::vector<double> outData(2 * signal.size());
    RealAudioBuffer in(signal.data(), static_cast<int>(signal.size()),
                       static_cast<int>(signal.size()), rate, 16);
    RealAudioBuffer out(outData.data(), static_cast<int>(outData.size()), 0, rate, 16);
    for (auto _ : state) {
        filter.process(&in, &out);
        benchmark::DoNotOptimize(outData.data());
    }
    bench::reportFrames(state, kFrames, 44100);
}
BENCHMARK_CAPTURE(BM_UpSampling, Off, kOff);
BENCHMARK_CAPTURE(BM_UpSampling, CD, kCD);
BENCHMARK_CAPTURE(BM_UpSampling, MP3, kMP3);
BENCHMARK_CAPTURE(BM_UpSampling, CD32, kCD32);
BENCHMARK_CAPTURE(BM_UpSampling, MP3_32, kMP332);

}  // namespace
