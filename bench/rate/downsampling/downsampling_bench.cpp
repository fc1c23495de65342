#include <quorvex/DownSamplingFilter.h>

#include "bench_util.h"

namespace {

void BM_DownSampling(benchmark::State& state) {
    DownSamplingFilter filter(24, 24);
    bench::runBlocks(state, filter, {96000, 24}, 0.5);
}
BENCHMARK(BM_DownSampling);

}  // namespace
