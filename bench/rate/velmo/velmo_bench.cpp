#include <quorvex/ParamBlocks.h>
#include <quorvex/UpSamplingFilter.h>

#include "bench_util.h"

namespace {

namespace velmo_block = quorvex::velmo_block;

enum Path { kOff, kCD, kMP3, kCD32, kMP332 };

// One 1024-frame block per iteration through each kernel path. The 33-tap
// high bands run only for 16-bit input at 48 kHz; every path is reported in
// realtime at 44.1 kHz so the figures compare directly.
void BM_UpSampling(benchmark::State& state, Path path) {
    UpSamplingFilter filter;
    bench::editBlock<velmo_block::kSize>(filter, velmo_block::kId, [&](unsigned char* block) {
        block[velmo_block::kEnabled] = path == kOff ? 0 : 1;
        block[velmo_block::kMp3Source] = (path == kMP3 || path == kMP332) ? 1 : 0;
    });
    filter.setUseUpSampler32(path == kCD32 || path == kMP332);
    const int rate = (path == kCD32 || path == kMP332) ? 48000 : 44100;

    bench::FilterBlock block(filter, {rate, 16}, 2.0);
    bench::runBlocks(state, block, bench::kBlockFrames, 44100);
}
BENCHMARK_CAPTURE(BM_UpSampling, Off, kOff);
BENCHMARK_CAPTURE(BM_UpSampling, CD, kCD);
BENCHMARK_CAPTURE(BM_UpSampling, MP3, kMP3);
BENCHMARK_CAPTURE(BM_UpSampling, CD32, kCD32);
BENCHMARK_CAPTURE(BM_UpSampling, MP3_32, kMP332);

}  // namespace
