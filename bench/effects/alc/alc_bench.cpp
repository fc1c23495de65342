#include <quorvex/ALCFilter.h>
#include <quorvex/ParamBlocks.h>

#include <cstdint>
#include <cstring>

#include "bench_util.h"

namespace {

namespace alc_block = quorvex::alc_block;

void BM_ALC(benchmark::State& state) {
    ALCFilter alc;
    const auto mode = static_cast<int32_t>(state.range(0));
    bench::editBlock<alc_block::kSize>(alc, alc_block::kId, [&](unsigned char* block) {
        std::memcpy(block + alc_block::kMode, &mode, sizeof mode);
    });
    bench::FilterBlock block(alc, {44100, 16}, 1.0, 2.5);  // driven over full scale
    bench::runBlocks(state, block, bench::kBlockFrames, 44100);
}
BENCHMARK(BM_ALC)->Arg(1)->Arg(2)->ArgName("mode");

}  // namespace
