#include <quorvex/EqualizerFilter.h>
#include <quorvex/ParamBlocks.h>

#include <cstring>

#include "bench_util.h"

namespace {

namespace equalizer_block = quorvex::equalizer_block;

void BM_Equalizer(benchmark::State& state) {
    EqualizerFilter eq;
    bench::editBlock<equalizer_block::kSize>(eq, equalizer_block::kId, [](unsigned char* block) {
        const double gains[equalizer_block::kBands] = {0.5, -0.25, 0.1, 1.0, -1.0,
                                                       0.3, -0.6,  0.2, 0.8, -0.4};
        block[equalizer_block::kEnabled] = 1;
        std::memcpy(block + equalizer_block::gainOffset(0), gains, sizeof gains);
    });
    bench::runBlocks(state, eq, {static_cast<int>(state.range(0)), 24});
}
BENCHMARK(BM_Equalizer)->Arg(44100)->Arg(48000)->Arg(88200)->Arg(96000)->ArgName("rate");

}  // namespace
