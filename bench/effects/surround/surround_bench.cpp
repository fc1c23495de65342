#include <quorvex/ParamBlocks.h>
#include <quorvex/SurroundFilter.h>

#include "bench_util.h"

namespace {

namespace surround_block = quorvex::surround_block;

// One block of 1024 frames through the stages in `emode` (0x3F: all six).
void BM_Surround(benchmark::State& state) {
    const int emode = static_cast<int>(state.range(0));
    const int rate = static_cast<int>(state.range(1));
    SurroundFilter surround;
    SurroundConfigParams params;
    surround.getParamData(surround_block::kId, &params, sizeof params);
    params.enabled = true;
    params.emode = emode;
    surround.setParamData(surround_block::kId, &params, sizeof params);
    bench::runBlocks(state, surround, {rate, 24});
}
BENCHMARK(BM_Surround)
    ->ArgNames({"emode", "rate"})
    ->ArgsProduct({{0x3F, surround_block::kHall, surround_block::kNatural, surround_block::kLive,
                    surround_block::kWide, surround_block::kEcho, surround_block::k3d},
                   {44100, 96000}});

// The cost of a reset or an effective parameter change: clearing the lines.
void BM_SurroundReset(benchmark::State& state) {
    SurroundFilter surround;
    for (auto _ : state) surround.reset();
}
BENCHMARK(BM_SurroundReset);

}  // namespace
