// Helpers shared by the fuzz targets: hostile sample values, and output areas
// with a guard band after their capacity so that a write past it is noticed
// even where it stays inside the allocation.
#ifndef QUORVEX_FUZZ_SUPPORT_H
#define QUORVEX_FUZZ_SUPPORT_H

#include <quorvex/RealAudioBuffer.h>

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <vector>

namespace fuzz {

inline void require(bool condition, const char* what) {
    if (condition) return;
    std::fprintf(stderr, "fuzz check failed: %s\n", what);
    std::abort();
}

// Mostly ordinary audio, with the values that break arithmetic mixed in.
inline double sample(FuzzedDataProvider& bytes) {
    switch (bytes.ConsumeIntegralInRange<int>(0, 7)) {
        case 0: return std::numeric_limits<double>::quiet_NaN();
        case 1:
            return bytes.ConsumeBool() ? std::numeric_limits<double>::infinity()
                                       : -std::numeric_limits<double>::infinity();
        case 2: return bytes.ConsumeFloatingPoint<double>();
        case 3: return std::numeric_limits<double>::denorm_min();
        default: return bytes.ConsumeFloatingPointInRange<double>(-1.5, 1.5);
    }
}

// Mostly the rates the effects act at, then other rates, including ones a
// host should never pass.
inline int sampleRate(FuzzedDataProvider& bytes) {
    static const int supported[] = {44100, 48000, 88200, 96000};
    static const int others[] = {22050, 32000, 8000,   192000,
                                 1,     0,     -44100, std::numeric_limits<int>::max()};
    switch (bytes.ConsumeIntegralInRange<int>(0, 7)) {
        case 0: return bytes.PickValueInArray(others);
        case 1: return bytes.ConsumeIntegralInRange<int>(1, 400000);
        default: return bytes.PickValueInArray(supported);
    }
}

inline int bitDepth(FuzzedDataProvider& bytes) {
    static const int depths[] = {16, 24, 32};
    return bytes.PickValueInArray(depths);
}

// An input block whose array is exactly as long as its valid part.
struct InputBlock {
    std::vector<double> samples;
    RealAudioBuffer buffer;

    InputBlock(FuzzedDataProvider& bytes, int maxLength, int rate, int bits)
        : samples(static_cast<size_t>(bytes.ConsumeIntegralInRange<int>(0, maxLength))),
          buffer(nullptr, 0, 0, rate, bits) {
        for (double& s : samples) s = sample(bytes);
        buffer.data = samples.data();
        buffer.capacity = static_cast<int>(samples.size());
        buffer.length = buffer.capacity;
    }
};

// An output buffer of a given capacity followed by guard doubles, with a
// valid length no greater than its capacity as a host would pass; before a
// call its whole area and header are recorded, so a refusal can be checked
// to leave everything as it was.
class GuardedOutput {
public:
    explicit GuardedOutput(int capacity)
        : area(static_cast<size_t>(capacity) + kGuard),
          buffer(nullptr, capacity, std::min(capacity, kUnsetLength), kUnsetRate, kUnsetBits) {
        for (size_t i = 0; i < area.size(); ++i) area[i] = kPattern + static_cast<double>(i);
        buffer.data = area.data();
        before = area;
    }

    RealAudioBuffer* get() { return &buffer; }

    void snapshot() {
        before = area;
        length = buffer.length;
        rate = buffer.sampleRate;
        bits = buffer.bitsPerSample;
    }

    // A composition clears the length of its output before its last member
    // runs, so a refusal by that member leaves the length at 0; every other
    // refusal leaves it as it was.
    bool untouched(bool lengthMayBeCleared = false) const {
        const bool lengthKept =
            buffer.length == length || (lengthMayBeCleared && buffer.length == 0);
        return sameBits(0, area.size()) && lengthKept && buffer.sampleRate == rate &&
               buffer.bitsPerSample == bits && header();
    }

    // Nothing beyond the capacity was written and the fixed fields stand.
    bool withinCapacity() const {
        return sameBits(static_cast<size_t>(buffer.capacity), area.size()) && header() &&
               buffer.length >= 0 && buffer.length <= buffer.capacity;
    }

private:
    static constexpr size_t kGuard = 8;
    static constexpr double kPattern = 1234.5;
    static constexpr int kUnsetLength = 7;
    static constexpr int kUnsetRate = 11;
    static constexpr int kUnsetBits = 13;

    bool sameBits(size_t from, size_t to) const {
        return std::memcmp(area.data() + from, before.data() + from,
                           (to - from) * sizeof(double)) == 0;
    }
    bool header() const {
        return buffer.data == area.data() && !buffer.ownsData &&
               buffer.capacity == static_cast<int>(area.size() - kGuard) && buffer.channels == 2;
    }

    std::vector<double> area;
    std::vector<double> before;
    RealAudioBuffer buffer;
    int length = 0;
    int rate = kUnsetRate;
    int bits = kUnsetBits;
};

}  // namespace fuzz

#endif
