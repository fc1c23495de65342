#ifndef QUORVEX_TESTS_VELMOMODEL_H
#define QUORVEX_TESTS_VELMOMODEL_H

// The enhancer written the direct way, over input histories rather than
// transposed lines, for bit-exact comparison with the library; starts where a
// fresh process starts, with all history zero.

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "rate/velmo/VelmoTables.h"

namespace velmo_model {

struct Frame {
    double l = 0.0, r = 0.0;
};

// y[n] = h0 x[n] + (h1 x[n-1] + (... + h[N-1] x[n-N+1])).
struct Fir {
    template <std::size_t N>
    explicit Fir(const std::array<double, N>& t) : h(t.begin(), t.end()), l(N), r(N) {}
    std::vector<double> h, l, r;
    Frame step(Frame x) { return {convolve(l, x.l), convolve(r, x.r)}; }
    void clear() { l = r = std::vector<double>(h.size()); }
    double convolve(std::vector<double>& past, double x) const {
        past.insert(past.begin(), x);
        past.pop_back();
        double acc = past.back() * h.back();
        for (std::size_t j = h.size() - 1; j-- > 0;) acc = past[j] * h[j] + acc;
        return acc;
    }
};

// |input 8 frames back| + |Hilbert transform|, the transform summed in increasing k.
struct DecAM {
    std::array<double, 17> l{}, r{};
    Frame step(Frame x) { return {channel(l, x.l), channel(r, x.r)}; }
    static double channel(std::array<double, 17>& u, double x) {
        std::copy_backward(u.begin(), u.end() - 1, u.end());
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

}  // namespace velmo_model

#endif
