#include <quorvex/ParamBlocks.h>
#include <quorvex/PersonalizeFilter.h>

#include <cstring>

#include "bench_util.h"

namespace {

namespace personalizer_block = quorvex::personalizer_block;

void BM_Personalizer(benchmark::State& state) {
    PersonalizeFilter pers;
    bench::editBlock<personalizer_block::kSize>(
        pers, personalizer_block::kId, [](unsigned char* block) {
            const double left[6] = {0, 1.1, -0.35, 0.8, 0.3, -0.2};
            const double right[6] = {0, -0.5, -0.2, 1.4, -0.7, 0.4};
            block[personalizer_block::kEnabled] = 1;
            std::memcpy(block + personalizer_block::kLeft, left, sizeof left);
            std::memcpy(block + personalizer_block::kRight, right, sizeof right);
        });
    bench::runBlocks(state, pers, {static_cast<int>(state.range(0)), 24});
}
BENCHMARK(BM_Personalizer)->Arg(44100)->Arg(48000)->Arg(88200)->Arg(96000)->ArgName("rate");

}  // namespace
