#ifndef QUORVEX_TESTS_EFFECTS_COMMON_RUNBLOCK_H
#define QUORVEX_TESTS_EFFECTS_COMMON_RUNBLOCK_H

#include <quorvex/AudioFilter.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

namespace testutil {

// Runs one block through an effect and returns the output doubles; checks
// that the effect kept the input's length and format and wrote nothing past it.
inline std::vector<double> runBlock(RealAudioFilter& f, std::vector<double> x, int sampleRate) {
    std::vector<double> y(x.size() + 1, -123.0);
    RealAudioBuffer in(x.data(), static_cast<int>(x.size()), static_cast<int>(x.size()), sampleRate,
                       24);
    RealAudioBuffer out(y.data(), static_cast<int>(y.size()), 0, 0, 0);
    EXPECT_EQ(f.process(&in, &out), 0);
    EXPECT_EQ(out.length, static_cast<int>(x.size()));
    EXPECT_EQ(out.sampleRate, sampleRate);
    EXPECT_EQ(out.bitsPerSample, 24);
    EXPECT_EQ(y.back(), -123.0);
    y.pop_back();
    return y;
}

// A deterministic wide-band stereo signal within +-0.9.
inline std::vector<double> noise(int frames) {
    std::vector<double> v(2 * static_cast<size_t>(frames));
    unsigned state = 12345u;
    for (double& s : v) {
        state = state * 1664525u + 1013904223u;
        s = (static_cast<double>(state >> 8) / 16777216.0 - 0.5) * 1.8;
    }
    return v;
}

// Equal bit for bit, -0.0 and NaN payloads included.
inline bool sameBits(const std::vector<double>& a, const std::vector<double>& b) {
    return a.size() == b.size() &&
           (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0);
}

// A block that does not fit leaves the output untouched; one that fits
// exactly is taken.
inline void expectCapacityChecked(RealAudioFilter& f, int sampleRate) {
    std::vector<double> x = {0.5, 0.25, -0.5, 0.125}, y(4, -1.0);
    RealAudioBuffer in(x.data(), 4, 4, sampleRate, 16), shortOut(y.data(), 3, 7, 1, 2);
    EXPECT_EQ(f.process(&in, &shortOut), -1);
    EXPECT_EQ(shortOut.length, 7);
    EXPECT_EQ(shortOut.sampleRate, 1);
    EXPECT_EQ(y, std::vector<double>(4, -1.0));
    RealAudioBuffer exact(y.data(), 4, 0, 0, 0);
    EXPECT_EQ(f.process(&in, &exact), 0);
    EXPECT_EQ(exact.length, 4);
}

}  // namespace testutil

#endif
