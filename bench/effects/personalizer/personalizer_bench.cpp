#include <quorvex/PersonalizeFilter.h>

#include <cstring>

#include "effects/common/effect_bench.h"

namespace {

void BM_Personalizer(benchmark::State& state) {
    PersonalizeFilter pers;
    unsigned char block[104];
    pers.getParamData(0x70554143, block, sizeof block);
    block[4] = 1;
    const double sets[12] = {0, 1.1, -0.35, 0.8, 0.3, -0.2, 0, -0.5, -0.2, 1.4, -0.7, 0.4};
    std::memcpy(block + 8, sets, sizeof sets);
    pers.setParamData(0x70554143, block, sizeof block);
    bench::runEffect(state, pers);
}
BENCHMARK(BM_Personalizer)->Arg(44100)->Arg(48000)->Arg(88200)->Arg(96000)->ArgName("rate");

}  // namespace
