#ifndef QUORVEX_TESTS_EFFECTS_COMMON_RUNBLOCK_H
#define QUORVEX_TESTS_EFFECTS_COMMON_RUNBLOCK_H

#include <quorvex/AudioFilter.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

namespace testutil {

// Runs one block through an effect and returns the output doubles; checks
// that the effect kept the input's length and format.
inline std::vector<double> runBlock(RealAudioFilter& f, const std::vector<double>& x,
                                    int sampleRate) {
    std::vector<double> inData(x);
    std::vector<double> outData(x.size() + 1, -123.0);
    RealAudioBuffer in(inData.data(), static_cast<int>(inData.size()),
                       static_cast<int>(inData.size()), sampleRate, 24);
    RealAudioBuffer out(outData.data(), static_cast<int>(outData.size()), 0, 0, 0);
    EXPECT_EQ(f.process(&in, &out), 0);
    EXPECT_EQ(out.length, static_cast<int>(x.size()));
    EXPECT_EQ(out.sampleRate, sampleRate);
    EXPECT_EQ(out.bitsPerSample, 24);
    EXPECT_EQ(outData[x.size()], -123.0);  // nothing written past the block
    outData.resize(x.size());
    return outData;
}

// Interleaved stereo sine, the same on both channels.
inline std::vector<double> stereoSine(double hz, int sampleRate, int frames, double amp = 0.5) {
    std::vector<double> v(2 * static_cast<size_t>(frames));
    for (int i = 0; i < frames; ++i)
        v[2 * i] = v[2 * i + 1] = amp * std::sin(2.0 * M_PI * hz * i / sampleRate);
    return v;
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

inline double maxAbsDifference(const std::vector<double>& a, const std::vector<double>& b) {
    double worst = 0.0;
    for (size_t i = 0; i < a.size(); ++i) worst = std::fmax(worst, std::fabs(a[i] - b[i]));
    return worst;
}

// Output and input bit for bit, -0.0 and NaN payloads included.
inline bool sameBits(const std::vector<double>& a, const std::vector<double>& b) {
    return a.size() == b.size() &&
           (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0);
}

// A block that does not fit leaves the output untouched; one that fits
// exactly is taken, and so is an empty one.
inline void expectCapacityChecked(RealAudioFilter& f, int sampleRate) {
    std::vector<double> inData = {0.5, 0.25, -0.5, 0.125};
    std::vector<double> outData(4, -1.0);
    RealAudioBuffer in(inData.data(), 4, 4, sampleRate, 16);
    RealAudioBuffer shortOut(outData.data(), 3, 7, 1, 2);
    EXPECT_EQ(f.process(&in, &shortOut), -1);
    EXPECT_EQ(shortOut.length, 7);
    EXPECT_EQ(shortOut.sampleRate, 1);
    EXPECT_EQ(shortOut.bitsPerSample, 2);
    EXPECT_EQ(outData, std::vector<double>(4, -1.0));

    RealAudioBuffer exact(outData.data(), 4, 0, 0, 0);
    EXPECT_EQ(f.process(&in, &exact), 0);
    EXPECT_EQ(exact.length, 4);

    RealAudioBuffer empty(nullptr, 0, 0, sampleRate, 32);
    RealAudioBuffer emptyOut(nullptr, 0, 5, 0, 0);
    EXPECT_EQ(f.process(&empty, &emptyOut), 0);
    EXPECT_EQ(emptyOut.length, 0);
    EXPECT_EQ(emptyOut.sampleRate, sampleRate);
    EXPECT_EQ(emptyOut.bitsPerSample, 32);
}

}  // namespace testutil

#endif
