#include <quorvex/Velmo.h>

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <vector>

#include "rate/velmo/VelmoModel.h"
#include "rate/velmo/VelmoTables.h"

// Every case runs in a fresh process (CTest), where all history is zero.

namespace {

using Kernel = void (*)(double, double, double*, double*, double*, double*);

struct KernelCase {
    const char* name;
    Kernel run;
    velmo_model::Kernel model;
};

const KernelCase kKernels[] = {
    {"Velmo_OFF", Velmo_OFF, velmo_model::kOff},
    {"VelmoCDUpSampler", VelmoCDUpSampler, velmo_model::kCD},
    {"VelmoMP3UpSampler", VelmoMP3UpSampler, velmo_model::kMP3},
    {"VelmoCDUpSampler32", VelmoCDUpSampler32, velmo_model::kCD32},
    {"VelmoMP3UpSampler32", VelmoMP3UpSampler32, velmo_model::kMP332},
};

std::array<double, 4> call(Kernel k, double l, double r) {
    std::array<double, 4> y;
    k(l, r, &y[0], &y[1], &y[2], &y[3]);
    return y;
}

void expectFramesEqual(const std::array<double, 4>& got,
                       const std::array<velmo_model::Frame, 2>& want, int frame) {
    EXPECT_EQ(got[0], want[0].l) << frame;
    EXPECT_EQ(got[1], want[0].r) << frame;
    EXPECT_EQ(got[2], want[1].l) << frame;
    EXPECT_EQ(got[3], want[1].r) << frame;
}

}  // namespace

TEST(VelmoOff, ImpulseGivesPairsOfNeighbouringTaps) {
    const auto tap = [](int j) { return j < 65 ? sOff_hf[j] : 0.0; };
    std::array<double, 4> y = call(Velmo_OFF, 1.0, 0.0);
    EXPECT_EQ(y[0], tap(0));
    EXPECT_EQ(y[2], tap(0) + tap(1));
    for (int i = 1; i < 34; ++i) {
        y = call(Velmo_OFF, 0.0, 0.0);
        EXPECT_EQ(y[0], tap(2 * i - 1) + tap(2 * i)) << i;
        EXPECT_EQ(y[2], tap(2 * i) + tap(2 * i + 1)) << i;
        EXPECT_EQ(y[1], 0.0);
        EXPECT_EQ(y[3], 0.0);
    }
}

TEST(VelmoKernels, ConstantInputSettlesToTheConstant) {
    for (const KernelCase& k : kKernels) {
        SCOPED_TRACE(k.name);
        VelmoInit();
        std::array<double, 4> y{};
        for (int i = 0; i < 400; ++i) y = call(k.run, 0.6, -0.3);
        EXPECT_NEAR(y[0], 0.6, 0.6e-6);
        EXPECT_NEAR(y[2], 0.6, 0.6e-6);
        EXPECT_NEAR(y[1], -0.3, 0.3e-6);
        EXPECT_NEAR(y[3], -0.3, 0.3e-6);
    }
}

TEST(VelmoKernels, SilenceFromLoadGivesSilence) {
    for (const KernelCase& k : kKernels)
        for (int i = 0; i < 200; ++i)
            for (double v : call(k.run, 0.0, 0.0)) ASSERT_EQ(v, 0.0) << k.name;
}

// All five kernels in an irregular order over one stream, against the direct
// reference: this pins the step order within a call, the second instant
// seeing what the first left, and which lines the kernels share.
TEST(VelmoKernels, InterleavedKernelsMatchTheReferenceBitForBit) {
    velmo_model::Enhancer model;
    const std::vector<double> x = velmo_model::noise(2 * 600, 11);
    for (int i = 0; i < 600; ++i) {
        const KernelCase& k = kKernels[(i * 7 + i / 5) % 5];
        const std::array<double, 4> got = call(k.run, x[2 * i], x[2 * i + 1]);
        expectFramesEqual(got, model.run(k.model, {x[2 * i], x[2 * i + 1]}), i);
        if (i == 300) {
            VelmoInit();
            model.init();
        }
    }
}

TEST(VelmoKernels, InitLeavesTheHighPassAndOutputSectionRinging) {
    const std::vector<double> x = velmo_model::noise(2 * 50, 5);
    for (int i = 0; i < 50; ++i) call(VelmoMP3UpSampler, x[2 * i], x[2 * i + 1]);
    VelmoInit();
    const std::array<double, 4> off = call(Velmo_OFF, 0.0, 0.0);
    for (double v : off) EXPECT_EQ(v, 0.0);
    const std::array<double, 4> mp3 = call(VelmoMP3UpSampler, 0.0, 0.0);
    for (double v : mp3) EXPECT_NE(v, 0.0);
}
