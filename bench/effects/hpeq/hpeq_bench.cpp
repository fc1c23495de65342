#include <quorvex/HPEQFilter.h>
#include <quorvex/ParamBlocks.h>

#include "bench_util.h"

namespace {

void BM_HPEQ(benchmark::State& state) {
    HPEQFilter hpeq;
    PhoneAdaptationConfigParams p{};
    hpeq.getParamData(quorvex::hpeq_block::kId, &p, sizeof p);
    p.enabled = 1;
    p.section[0] = {0, 1.2, -0.4, 0.7, 0.3, -0.2};
    p.section[1] = {0, -0.6, -0.3, 1.3, -0.9, 0.45};
    p.section[2] = {0, 0.1, 0.05, 0.9, 0.11, 0.02};
    hpeq.setParamData(quorvex::hpeq_block::kId, &p, sizeof p);
    bench::runBlocks(state, hpeq, {static_cast<int>(state.range(0)), 24});
}
BENCHMARK(BM_HPEQ)->Arg(44100)->Arg(48000)->Arg(88200)->Arg(96000)->ArgName("rate");

}  // namespace
