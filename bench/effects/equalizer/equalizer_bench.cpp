#include <quorvex/EqualizerFilter.h>

#include <cstring>

#include "effects/common/effect_bench.h"

namespace {

void BM_Equalizer(benchmark::State& state) {
    EqualizerFilter eq;
    unsigned char block[92];
    eq.getParamData(0x70455551, block, sizeof block);
    block[4] = 1;
    const double gains[10] = {0.5, -0.25, 0.1, 1.0, -1.0, 0.3, -0.6, 0.2, 0.8, -0.4};
    std::memcpy(block + 8, gains, sizeof gains);
    eq.setParamData(0x70455551, block, sizeof block);
    bench::runEffect(state, eq);
}
BENCHMARK(BM_Equalizer)->Arg(44100)->Arg(48000)->Arg(88200)->Arg(96000)->ArgName("rate");

}  // namespace
