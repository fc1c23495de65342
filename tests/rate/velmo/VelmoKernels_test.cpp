#include <quorvex/Velmo.h>

#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "rate/velmo/VelmoModel.h"
#include "rate/velmo/VelmoTables.h"

// Every case runs in a fresh process (CTest), where all history is zero.

namespace {

using Kernel = void (*)(double, double, double*, double*, double*, double*);

const Kernel kKernels[] = {Velmo_OFF, VelmoCDUpSampler, VelmoMP3UpSampler, VelmoCDUpSampler32,
                           VelmoMP3UpSampler32};  // in the order of velmo_model::Kernel

std::array<double, 4> call(Kernel k, double l, double r) {
    std::array<double, 4> y;
    k(l, r, &y[0], &y[1], &y[2], &y[3]);
    return y;
}

}  // namespace

// All five kernels in an irregular order over one stream, with an
// initialisation halfway: this pins the step order within a call, the second
// instant seeing what the first left, which lines the kernels share, that the
// lines start empty, and what VelmoInit clears (not the high-pass, not the
// output sections).
TEST(VelmoKernels, InterleavedKernelsMatchTheReferenceBitForBit) {
    velmo_model::Enhancer model;
    const std::vector<double> x = velmo_model::noise(2 * 600, 11);
    for (int i = 0; i < 600; ++i) {
        const int k = (i * 7 + i / 5) % 5;
        const std::array<double, 4> got = call(kKernels[k], x[2 * i], x[2 * i + 1]);
        const auto want = model.run(static_cast<velmo_model::Kernel>(k), {x[2 * i], x[2 * i + 1]});
        ASSERT_EQ(got, (std::array<double, 4>{want[0].l, want[0].r, want[1].l, want[1].r})) << i;
        if (i == 300) {
            VelmoInit();
            VelmoInit();
            model.init();
        }
    }
}
