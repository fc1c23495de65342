#include <quorvex/Velmo.h>

#include <gtest/gtest.h>

#include <array>

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

TEST(VelmoOff, ImpulseGivesSumsOfNeighbouringTaps) {
    const auto tap = [](int j) { return j < 65 ? sOff_hf[j] : 0.0; };
    for (int i = 0; i < 34; ++i) {
        const std::array<double, 4> y = call(Velmo_OFF, i == 0 ? 1.0 : 0.0, 0.0);
        EXPECT_EQ(y[0], i == 0 ? tap(0) : tap(2 * i - 1) + tap(2 * i)) << i;
        EXPECT_EQ(y[2], tap(2 * i) + tap(2 * i + 1)) << i;
        EXPECT_EQ(y[1] + y[3], 0.0);
    }
}

TEST(VelmoKernels, SilenceFromLoadGivesSilenceAndAConstantSettles) {
    for (Kernel k : kKernels)
        for (int i = 0; i < 200; ++i)
            for (double v : call(k, 0.0, 0.0)) ASSERT_EQ(v, 0.0);
    for (Kernel k : kKernels) {
        std::array<double, 4> y{};
        for (int i = 0; i < 400; ++i) y = call(k, 0.6, -0.3);
        EXPECT_NEAR(y[0], 0.6, 0.6e-6);
        EXPECT_NEAR(y[2], 0.6, 0.6e-6);
        EXPECT_NEAR(y[1], -0.3, 0.3e-6);
        EXPECT_NEAR(y[3], -0.3, 0.3e-6);
    }
}

// All five kernels in an irregular order over one stream, with an
// initialisation halfway: this pins the step order within a call, the second
// instant seeing what the first left, which lines the kernels share and what
// VelmoInit clears.
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

TEST(VelmoKernels, InitLeavesTheHighPassAndOutputSectionRinging) {
    const std::vector<double> x = velmo_model::noise(2 * 50, 5);
    for (int i = 0; i < 50; ++i) call(VelmoMP3UpSampler, x[2 * i], x[2 * i + 1]);
    VelmoInit();
    for (double v : call(Velmo_OFF, 0.0, 0.0)) EXPECT_EQ(v, 0.0);
    for (double v : call(VelmoMP3UpSampler, 0.0, 0.0)) EXPECT_NE(v, 0.0);
}
