#include <quorvex/ReSamplingFilter.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "rate/resampling/ReSamplingState.h"

namespace {

// A self-contained generator, so that every compiler and standard library
// feeds the converter the same streams.
struct SplitMix64 {
    uint64_t state;
    uint64_t next() {
        uint64_t z = (state += 0x9e3779b97f4a7c15ULL);
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
        return z ^ (z >> 31);
    }
    int below(int n) { return static_cast<int>(next() % static_cast<uint64_t>(n)); }
    double signal() { return static_cast<double>(next() >> 11) * 0x1.0p-52 - 1.0; }
};

// FNV-1a over the raw bytes of every value.
struct Fnv1a {
    uint64_t hash = 0xcbf29ce484222325ULL;
    void add(const void* data, size_t size) {
        const auto* bytes = static_cast<const unsigned char*>(data);
        for (size_t i = 0; i < size; ++i) hash = (hash ^ bytes[i]) * 0x100000001b3ULL;
    }
};

// Block lengths from nothing to past the 32768 frames the kernel takes at
// once, most of them short and of either parity.
int blockFrames(SplitMix64& rng) {
    const int kind = rng.below(16);
    if (kind == 0) return 0;
    if (kind == 1) return 1;
    if (kind < 10) return rng.below(512);
    if (kind < 14) return rng.below(4096);
    if (kind == 14) return rng.below(20000);
    return 32768 + rng.below(8000);
}

struct Stream {
    int outRate;
    std::vector<int> inRates;  // the first, then random switches among them
    int blocks;
    int maxFrames;  // 0: blockFrames' lengths
    uint64_t hash;
};

// Runs one stream with resets and input rate changes between its blocks and
// hashes every output length and sample.
uint64_t streamHash(const Stream& s, uint64_t seed) {
    SplitMix64 rng{seed};
    int rate = s.inRates.front();
    ReSamplingFilter filter(rate, 16, s.outRate, 24);
    Fnv1a fnv;
    std::vector<double> in, out;
    for (int block = 0; block < s.blocks; ++block) {
        if (rng.below(12) == 0) filter.reset();
        if (rng.below(12) == 0) rate = s.inRates[rng.below(static_cast<int>(s.inRates.size()))];
        const int frames = s.maxFrames > 0 ? rng.below(s.maxFrames + 1) : blockFrames(rng);
        const int length = 2 * frames + (rng.below(4) == 0);  // at times a trailing odd double
        in.resize(length);
        for (double& v : in) v = rng.signal();
        out.assign(static_cast<int64_t>(length) * s.outRate / rate + 4, 0.0);
        RealAudioBuffer inBuffer(in.data(), length, length, rate, 16);
        RealAudioBuffer outBuffer(out.data(), static_cast<int>(out.size()), 0, 0, 0);
        EXPECT_EQ(filter.process(&inBuffer, &outBuffer), 0);
        fnv.add(&outBuffer.length, sizeof outBuffer.length);
        fnv.add(out.data(), sizeof(double) * outBuffer.length);
    }
    return fnv.hash;
}

}  // namespace

// Every output bit of long streams, up, down and at equal rates, wrapping
// the input ring several times. The hashes were taken from the converter
// whose sums ran at most four outputs side by side in 128-bit lanes; any
// faster kernel must reproduce them.
TEST(ReSamplingStreams, EveryOutputBitOfLongStreams) {
    const Stream streams[] = {
        {48000, {44100, 32000, 22050}, 120, 0, 0xffaf314b1475faa4},
        {44100, {48000, 96000, 32000}, 120, 0, 0x9213fbaf857087dd},
        {96000, {44100, 22050}, 80, 0, 0x2b958f6b20263904},
        {8000, {96000, 44100}, 80, 0, 0xe0ed80adc44e708b},
        {48000, {48000, 44100}, 40, 0, 0x90f640037c89f824},
        {44100, {44100}, 30, 0, 0x58923ec1fc9818ba},
        // An up factor beyond the per-phase tables.
        {48000, {7}, 60, 24, 0xf3cf593c9cf7c46f},
    };
    uint64_t seed = 1;
    for (const Stream& s : streams) {
        const uint64_t got = streamHash(s, seed++);
        EXPECT_EQ(got, s.hash) << s.inRates.front() << " -> " << s.outRate << std::hex << " got 0x"
                               << got;
    }
}

namespace {

// The outputs of blocks of a signal with one infinite and one undefined
// value, through the block kernels or through the four-at-a-time sums.
std::vector<double> outputsAroundNonFinite(int inRate, int outRate, bool blockKernels) {
    ReSamplingFilterUseBlockKernels(blockKernels);
    ReSamplingFilter filter(inRate, 16, outRate, 24);
    SplitMix64 rng{7};
    std::vector<double> all;
    std::vector<double> in(2 * 4096), out(2 * 4096 * outRate / inRate + 4);
    for (int block = 0; block < 6; ++block) {
        for (double& v : in) v = rng.signal();
        if (block == 1) in[2 * 1000] = INFINITY;
        if (block == 3) in[2 * 3000 + 1] = NAN;
        RealAudioBuffer inBuffer(in.data(), static_cast<int>(in.size()),
                                 static_cast<int>(in.size()), inRate, 16);
        RealAudioBuffer outBuffer(out.data(), static_cast<int>(out.size()), 0, 0, 0);
        EXPECT_EQ(filter.process(&inBuffer, &outBuffer), 0);
        all.insert(all.end(), out.begin(), out.begin() + outBuffer.length);
    }
    ReSamplingFilterUseBlockKernels(true);
    return all;
}

}  // namespace

// A value that is not finite spoils only the outputs whose windows reach it,
// whichever kernel runs.
TEST(ReSamplingStreams, NonFiniteInputSpoilsOnlyItsWindows) {
    for (auto rates : {std::pair<int, int>{44100, 48000}, {48000, 44100}, {48000, 48000}}) {
        const std::vector<double> fast = outputsAroundNonFinite(rates.first, rates.second, true);
        const std::vector<double> plain = outputsAroundNonFinite(rates.first, rates.second, false);
        ASSERT_EQ(fast.size(), plain.size());
        EXPECT_EQ(std::memcmp(fast.data(), plain.data(), sizeof(double) * fast.size()), 0)
            << rates.first << " -> " << rates.second;
        const auto finite =
            std::count_if(fast.begin(), fast.end(), [](double v) { return std::isfinite(v); });
        EXPECT_GT(finite, static_cast<long>(fast.size() / 2));
    }
}
