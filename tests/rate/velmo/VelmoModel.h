#ifndef QUORVEX_TESTS_VELMOMODEL_H
#define QUORVEX_TESTS_VELMOMODEL_H

// The enhancer written the direct way, over input histories rather than
// transposed lines, for bit-exact comparison with the library. Built in a
// fresh process, where all of the library's history is zero.

#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <vector>

#include "rate/velmo/VelmoTables.h"

namespace velmo_model {

struct Frame {
    double l = 0.0, r = 0.0;
};

// y[n] = h0 x[n] + (h1 x[n-1] + (... + h[N-1] x[n-N+1])): a transposed line
// adds each new product to the older partial sum.
class Fir {
public:
    template <std::size_t N>
    explicit Fir(const std::array<double, N>& h) : h_(h.begin(), h.end()), l_(N), r_(N) {}
    Frame step(Frame x) { return {convolve(l_, x.l), convolve(r_, x.r)}; }
    void clear() {
        std::fill(l_.begin(), l_.end(), 0.0);
        std::fill(r_.begin(), r_.end(), 0.0);
    }

private:
    double convolve(std::vector<double>& past, double x) {
        past.insert(past.begin(), x);
        past.pop_back();
        double acc = past.back() * h_.back();
        for (std::size_t j = h_.size() - 1; j-- > 0;) acc = past[j] * h_[j] + acc;
        return acc;
    }
    std::vector<double> h_, l_, r_;
};

// |input 8 frames back| + |Hilbert transform|, the transform summed in increasing k.
struct DecAM {
    std::array<double, 17> l{}, r{};
    Frame step(Frame x) { return {channel(l, x.l), channel(r, x.r)}; }
    static double channel(std::array<double, 17>& u, double x) {
        for (int k = 16; k > 0; --k) u[k] = u[k - 1];
        u[0] = x;
        double h = sDecAM_hn[0] * u[0];
        for (int k = 1; k < 17; ++k)
            if (k != 8) h = h + sDecAM_hn[k] * u[k];
        return std::fabs(u[8]) + std::fabs(h);
    }
};

struct Biquad {
    VelmoBiquadCoeffs c;
    std::array<double, 2> l{}, r{};
    Frame step(Frame x) { return {channel(l, x.l), channel(r, x.r)}; }
    double channel(std::array<double, 2>& w, double x) const {
        const double v = (c.a1 * w[0] + c.a2 * w[1]) + x;
        const double y = c.b0 * v + (c.b1 * w[0] + c.b2 * w[1]);
        w = {v, w[0]};
        return y;
    }
};

enum Kernel { kOff, kCD, kMP3, kCD32, kMP332 };

// Every line of the library once, shared the way the kernels share them.
struct Enhancer {
    Fir off{sOff_hf}, cdLow{sVelmoCDlf}, mp3Low{sVelmoMP3lf}, highPass{sVelmohpf2};
    Fir highs[4] = {Fir(sVelmoCDhf128), Fir(sVelmoMP3hf128), Fir(sVelmoCDhf32), Fir(sVelmoMP3hf32)};
    DecAM envelope;
    Biquad cdOut{sVelmoLpf2}, mp3Out{sVelmoLpf2};

    // What the library's initialisation clears: not the high-pass, not the sections.
    void init() {
        for (Fir* f : {&off, &cdLow, &mp3Low, &highs[0], &highs[1], &highs[2], &highs[3]})
            f->clear();
        envelope = DecAM();
    }

    std::array<Frame, 2> run(Kernel k, Frame x) {
        if (k == kOff) return {off.step(x), off.step(x)};
        const bool cd = k == kCD || k == kCD32;
        const double gain = cd ? 10.0 : 40.0;
        std::array<Frame, 2> y;
        for (Frame& instant : y) {
            const Frame a = (cd ? cdLow : mp3Low).step(x);
            const Frame c = highs[k - kCD].step(envelope.step(highPass.step(a)));
            instant = (cd ? cdOut : mp3Out).step({a.l + c.l * gain, a.r + c.r * gain});
        }
        return y;
    }
};

inline std::vector<double> noise(std::size_t doubles, unsigned seed) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> u(-0.5, 0.5);
    std::vector<double> v(doubles);
    for (double& s : v) s = u(gen);
    return v;
}

}  // namespace velmo_model

#endif
