#include <quorvex/ParamBlocks.h>
#include <quorvex/UpSamplingFilter.h>
#include <quorvex/Velmo.h>

#include "bench_util.h"
#include "rate/velmo/VelmoSections.h"

namespace {

namespace velmo_block = quorvex::velmo_block;

enum Path { kOff, kCD, kMP3, kCD32, kMP332, kPaths };

using Kernel = void (*)(double, double, double*, double*, double*, double*);

constexpr Kernel kKernels[kPaths] = {Velmo_OFF, VelmoCDUpSampler, VelmoMP3UpSampler,
                                     VelmoCDUpSampler32, VelmoMP3UpSampler32};

// The 33-tap high bands run only for 16-bit input at 48 kHz; every path is
// reported in realtime at 44.1 kHz so the figures compare directly.
int rateOf(Path path) { return (path == kCD32 || path == kMP332) ? 48000 : 44100; }

// Frames per CPU second of each path's per-frame row, for the block rows'
// ratio; the per-frame rows are registered, and so run, first.
double gPerFrame[kPaths];

// The filter's work done the way it was before block passes: the default
// Super section and one kernel call per frame.
void BM_UpSamplingPerFrame(benchmark::State& state, Path path) {
    const int rate = rateOf(path);
    const VelmoStereoStep section = rate == 48000 ? Velmo_Super_48K_16 : Velmo_Super_44K_16;
    const std::vector<double> x = bench::stereoSignal(bench::kBlockFrames, rate);
    std::vector<double> y(2 * x.size());
    VelmoInit();
    const auto block = [&] {
        for (int i = 0; i < bench::kBlockFrames; ++i) {
            double sL = x[2 * i], sR = x[2 * i + 1];
            if (path != kOff) section(sL, sR, &sL, &sR);
            kKernels[path](sL, sR, &y[4 * i], &y[4 * i + 1], &y[4 * i + 2], &y[4 * i + 3]);
        }
        benchmark::DoNotOptimize(y.data());
        return true;
    };
    gPerFrame[path] = bench::runBlocks(state, block, bench::kBlockFrames, 44100);
}

// One 1024-frame block per iteration through the filter, with its speed as a
// multiple of the per-frame row of the same path.
void BM_UpSampling(benchmark::State& state, Path path) {
    UpSamplingFilter filter;
    bench::editBlock<velmo_block::kSize>(filter, velmo_block::kId, [&](unsigned char* block) {
        block[velmo_block::kEnabled] = path == kOff ? 0 : 1;
        block[velmo_block::kMp3Source] = (path == kMP3 || path == kMP332) ? 1 : 0;
    });
    filter.setUseUpSampler32(path == kCD32 || path == kMP332);

    bench::FilterBlock block(filter, {rateOf(path), 16}, 2.0);
    const double speed = bench::runBlocks(state, block, bench::kBlockFrames, 44100);
    if (gPerFrame[path] > 0.0) state.counters["x_per_frame"] = speed / gPerFrame[path];
}

BENCHMARK_CAPTURE(BM_UpSamplingPerFrame, Off, kOff);
BENCHMARK_CAPTURE(BM_UpSamplingPerFrame, CD, kCD);
BENCHMARK_CAPTURE(BM_UpSamplingPerFrame, MP3, kMP3);
BENCHMARK_CAPTURE(BM_UpSamplingPerFrame, CD32, kCD32);
BENCHMARK_CAPTURE(BM_UpSamplingPerFrame, MP3_32, kMP332);
BENCHMARK_CAPTURE(BM_UpSampling, Off, kOff);
BENCHMARK_CAPTURE(BM_UpSampling, CD, kCD);
BENCHMARK_CAPTURE(BM_UpSampling, MP3, kMP3);
BENCHMARK_CAPTURE(BM_UpSampling, CD32, kCD32);
BENCHMARK_CAPTURE(BM_UpSampling, MP3_32, kMP332);

}  // namespace
