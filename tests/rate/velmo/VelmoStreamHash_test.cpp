#include <quorvex/ParamBlocks.h>
#include <quorvex/UpSamplingFilter.h>
#include <quorvex/Velmo.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "rate/velmo/VelmoSections.h"

// Fingerprints of long streams through the enhancer, bit for bit: every
// output double and the history each step leaves behind. The filter and the
// per-frame kernels take turns on the shared history, with resets, setting,
// rate and depth changes and block lengths of 0, 1 and odd counts of doubles
// in between. Any change in how a value is rounded moves a fingerprint.

namespace velmo_block = quorvex::velmo_block;

namespace {

class Fingerprint {
public:
    void add(double v) {
        std::uint64_t bits;
        std::memcpy(&bits, &v, sizeof bits);
        state = mix(state ^ bits);
    }
    void add(const double* v, int count) {
        for (int i = 0; i < count; ++i) add(v[i]);
    }
    std::uint64_t value() const { return state; }

private:
    static std::uint64_t mix(std::uint64_t z) {
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
        return z ^ (z >> 31);
    }
    std::uint64_t state = 0x9E3779B97F4A7C15u;
};

struct Rng {
    std::uint64_t state;
    std::uint64_t next() {
        state = state * 6364136223846793005u + 1442695040888963407u;
        return state >> 17;
    }
    int below(int n) { return static_cast<int>(next() % static_cast<std::uint64_t>(n)); }
    double uniform() { return static_cast<double>(next() % (1u << 30)) / (1u << 30) - 0.5; }
};

// Noise in runs of awkward stretches: silence of either sign (which decides
// the sign of zero sums), full-scale steps and subnormal values.
std::vector<double> signal(Rng& rng, int doubles) {
    std::vector<double> v(static_cast<std::size_t>(doubles));
    int kind = 0;
    for (double& s : v) {
        if (rng.below(64) == 0) kind = rng.below(8);
        switch (kind) {
            case 1: s = 0.0; break;
            case 2: s = -0.0; break;
            case 3: s = rng.below(2) ? 1.0 : -1.0; break;
            case 4: s = rng.uniform() * 1e-309; break;
            default: s = 1.8 * rng.uniform();
        }
    }
    return v;
}

int blockDoubles(Rng& rng) {
    switch (rng.below(6)) {
        case 0: return rng.below(4);
        case 1: return 2 * rng.below(300) + 1;
        case 2: return 2 * rng.below(3000);
        default: return rng.below(1200);
    }
}

void configure(UpSamplingFilter& f, Rng& rng) {
    unsigned char block[velmo_block::kSize];
    f.getParamData(velmo_block::kId, block, velmo_block::kSize);
    block[velmo_block::kEnabled] = static_cast<unsigned char>(rng.below(3));
    block[velmo_block::kMp3Source] = static_cast<unsigned char>(rng.below(2));
    const std::int32_t mode = rng.below(2) ? velmo_block::kModeFine : velmo_block::kModeSuper;
    std::memcpy(block + velmo_block::kMode, &mode, sizeof mode);
    ASSERT_EQ(f.setParamData(velmo_block::kId, block, velmo_block::kSize), velmo_block::kSize);
    f.setUseUpSampler32(rng.below(2) == 1);
}

void runFilter(UpSamplingFilter& f, Rng& rng, Fingerprint& out) {
    static const int kRates[] = {44100, 48000, 44100, 48000, 32000};
    static const int kDepths[] = {16, 24, 16, 24, 32};
    // One draw per statement: the order of a call's arguments is the compiler's.
    const int rate = kRates[rng.below(5)];
    const int depth = kDepths[rng.below(5)];
    std::vector<double> x = signal(rng, blockDoubles(rng));
    std::vector<double> y(2 * x.size());
    RealAudioBuffer in(x.data(), static_cast<int>(x.size()), static_cast<int>(x.size()), rate,
                       depth);
    RealAudioBuffer o(y.data(), static_cast<int>(y.size()), 0, 0, 0);
    ASSERT_EQ(f.process(&in, &o), 0);
    out.add(y.data(), 4 * static_cast<int>(x.size() / 2));
}

void runKernel(Rng& rng, Fingerprint& out) {
    using Kernel = void (*)(double, double, double*, double*, double*, double*);
    static const Kernel kKernels[] = {Velmo_OFF, VelmoCDUpSampler, VelmoMP3UpSampler,
                                      VelmoCDUpSampler32, VelmoMP3UpSampler32};
    const Kernel kernel = kKernels[rng.below(5)];
    const std::vector<double> x = signal(rng, 2 * rng.below(200));
    for (std::size_t i = 0; i < x.size(); i += 2) {
        double y[4];
        kernel(x[i], x[i + 1], &y[0], &y[1], &y[2], &y[3]);
        out.add(y, 4);
    }
}

std::vector<double>* gSnapshot = nullptr;

// Every double of the process-wide history, in the order the library visits it.
std::vector<double> history() {
    std::vector<double> all;
    gSnapshot = &all;
    VelmoVisitHistory(
        [](const double* v, int count) { gSnapshot->insert(gSnapshot->end(), v, v + count); });
    return all;
}

}  // namespace

TEST(VelmoStreamHash, FilterAndKernelsOnSharedHistory) {
    // The sections are never cleared, so the fingerprints hold for a process
    // that has run nothing else (CTest runs each case on its own).
    for (double v : history()) {
        if (v != 0.0) {
            GTEST_SKIP() << "needs a process of its own";
        }
    }
    UpSamplingFilter f;
    Rng rng{20240611u};
    Fingerprint out, left;
    for (int round = 0; round < 1500; ++round) {
        const int action = rng.below(12);
        if (action == 0) f.reset();
        if (action == 1) {
            ASSERT_NO_FATAL_FAILURE(configure(f, rng));
        }
        if (action < 4) runKernel(rng, out);
        ASSERT_NO_FATAL_FAILURE(runFilter(f, rng, out));
        const std::vector<double> now = history();
        left.add(now.data(), static_cast<int>(now.size()));
    }
    EXPECT_EQ(out.value(), 15107786368746265590u);
    EXPECT_EQ(left.value(), 7603252817820170079u);
}
