#ifndef QUORVEX_TESTS_SUPPORT_RUNBLOCK_H
#define QUORVEX_TESTS_SUPPORT_RUNBLOCK_H

#include <quorvex/AudioFilter.h>

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace testutil {

// Fills output areas so that a double the filter did not write shows.
inline constexpr double kSentinel = -123.0;

// Runs one block through an effect and returns the output doubles; checks
// that the effect kept the input's length and format and wrote nothing past it.
inline std::vector<double> runBlock(RealAudioFilter& f, std::vector<double> x, int sampleRate) {
    std::vector<double> y(x.size() + 1, kSentinel);
    RealAudioBuffer in(x.data(), static_cast<int>(x.size()), static_cast<int>(x.size()), sampleRate,
                       24);
    RealAudioBuffer out(y.data(), static_cast<int>(y.size()), 0, 0, 0);
    EXPECT_EQ(f.process(&in, &out), 0);
    EXPECT_EQ(out.length, static_cast<int>(x.size()));
    EXPECT_EQ(out.sampleRate, sampleRate);
    EXPECT_EQ(out.bitsPerSample, 24);
    EXPECT_EQ(y.back(), kSentinel);
    y.pop_back();
    return y;
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

// For a filter whose block makes `needed` doubles: an output one double
// short refuses it, writing nothing and taking nothing in, and one of
// exactly `needed` then takes it. `out` is left holding the result.
inline void expectRefusedUntilExact(RealAudioFilter& f, RealAudioBuffer& in, RealAudioBuffer& out,
                                    int needed) {
    const double first = out.data[0];
    out.capacity = needed - 1;
    out.length = 7;
    ASSERT_EQ(f.process(&in, &out), -1);
    EXPECT_EQ(out.length, 7);
    EXPECT_EQ(out.data[0], first);
    out.capacity = needed;
    ASSERT_EQ(f.process(&in, &out), 0);
    EXPECT_EQ(out.length, needed);
}

}  // namespace testutil

#endif
