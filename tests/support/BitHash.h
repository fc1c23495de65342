#ifndef QUORVEX_TESTS_SUPPORT_BITHASH_H
#define QUORVEX_TESTS_SUPPORT_BITHASH_H

// Long-stream fingerprints: a digest of every output bit, and a source of
// signal and choices that is the same with every compiler and library.

#include <cstdint>
#include <cstring>
#include <random>

namespace testutil {

// A 64-bit digest of a sequence of doubles and counts. Each value's raw bits
// go in whole, so a changed sign of zero, NaN payload, value or order shows.
class BitHash {
public:
    void add(double v) {
        std::uint64_t bits;
        std::memcpy(&bits, &v, sizeof bits);
        mix(bits);
    }
    void add(const double* v, int count) {
        for (int i = 0; i < count; ++i) add(v[i]);
    }
    void addCount(long n) { mix(static_cast<std::uint64_t>(n) ^ 0xA5A5A5A5A5A5A5A5u); }
    std::uint64_t value() const { return state; }

private:
    void mix(std::uint64_t bits) {
        std::uint64_t z = ((state << 29) | (state >> 35)) ^ bits;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
        state = z ^ (z >> 31);
    }

    std::uint64_t state = 0x243F6A8885A308D3u;
};

// Signal values and choices from the raw output of mt19937_64, which the
// standard fixes, rather than from its distributions, which it does not.
class StreamDice {
public:
    explicit StreamDice(std::uint64_t seed) : gen(seed) {}

    // 0 .. n-1.
    int below(int n) { return static_cast<int>(gen() % static_cast<std::uint64_t>(n)); }
    bool oneIn(int n) { return below(n) == 0; }
    // Uniform in [-1, 1) on a 2^-52 grid.
    double unit() { return static_cast<double>(gen() >> 11) * 0x1p-52 - 1.0; }

    // Mostly wide-band noise within +-0.9, now and then a signed zero, a
    // subnormal or a full-scale value.
    double sample() {
        switch (below(64)) {
            case 0: return -0.0;
            case 1: return 0.0;
            case 2: return unit() * 0x1p-1060;
            case 3: return below(2) == 0 ? 1.0 : -1.0;
            default: return 0.9 * unit();
        }
    }

    // A block length in doubles: often 0, 1 or another small or odd count,
    // otherwise up to a few thousand.
    int blockDoubles() {
        switch (below(8)) {
            case 0: return below(4);
            case 1: return 2 * below(20) + 1;
            case 2: return below(64);
            case 3: return below(12000);
            default: return below(3000);
        }
    }

private:
    std::mt19937_64 gen;
};

}  // namespace testutil

#endif
