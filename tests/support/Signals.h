#ifndef QUORVEX_TESTS_SUPPORT_SIGNALS_H
#define QUORVEX_TESTS_SUPPORT_SIGNALS_H

#include <cstddef>
#include <random>
#include <vector>

namespace testutil {

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

// `doubles` values uniform in [-0.5, 0.5), a different sequence per seed.
inline std::vector<double> uniformNoise(std::size_t doubles, unsigned seed) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> u(-0.5, 0.5);
    std::vector<double> v(doubles);
    for (double& s : v) s = u(gen);
    return v;
}

}  // namespace testutil

#endif
