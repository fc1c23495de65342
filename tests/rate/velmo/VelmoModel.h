#ifndef QUORVEX_TESTS_VELMOMODEL_H
#define QUORVEX_TESTS_VELMOMODEL_H

// A reference of the enhancer written the direct way, over input histories
// rather than transposed lines, for bit-exact comparison with the library.
// The tests build it from a fresh process, where all of the library's
// history is zero.

#include <array>
#include <cmath>
#include <cstddef>
#include <random>
#include <vector>

#include "rate/velmo/VelmoTables.h"

namespace velmo_model {

struct Frame {
    double l = 0.0, r = 0.0;
};

// y[n] = h0 x[n] + (h1 x[n-1] + (... + h[N-1] x[n-N+1])): the transposed
// line adds each new product to the older partial sum.
class Fir {
public:
    template <std::size_t N>
    explicit Fir(const std::array<double, N>& h) : h_(h.begin(), h.end()), l_(N), r_(N) {}

    Frame step(Frame x) {
        return {convolve(l_, x.l), convolve(r_, x.r)};
    }
    void clear() {
        l_.assign(h_.size(), 0.0);
        r_.assign(h_.size(), 0.0);
    }

private:
    double convolve(std::vector<double>& past, double x) {
        past.insert(past.begin(), x);
        past.pop_back();
        const std::size_t n = h_.size();
        double acc = past[n - 1] * h_[n - 1];
        for (std::size_t j = n - 1; j-- > 0;) acc = past[j] * h_[j] + acc;
        return acc;
    }
    std::vector<double> h_, l_, r_;
};

// |input 8 frames back| + |Hilbert transform|, the transform summed in increasing k.
class DecAM {
public:
    Frame step(Frame x) { return {channel(l_, x.l), channel(r_, x.r)}; }
    void clear() {
        l_.fill(0.0);
        r_.fill(0.0);
    }

private:
    static double channel(std::array<double, 17>& u, double x) {
        for (int k = 16; k > 0; --k) u[k] = u[k - 1];
        u[0] = x;
        double h = sDecAM_hn[0] * u[0];
        for (int k = 1; k < 17; ++k)
            if (k != 8) h = h + sDecAM_hn[k] * u[k];
        return std::fabs(u[8]) + std::fabs(h);
    }
    std::array<double, 17> l_{}, r_{};
};

class Biquad {
public:
    explicit Biquad(const VelmoBiquadCoeffs& c) : c_(c) {}
    Frame step(Frame x) { return {channel(l_, x.l), channel(r_, x.r)}; }

private:
    double channel(std::array<double, 2>& w, double x) const {
        const double v = (c_.a1 * w[0] + c_.a2 * w[1]) + x;
        const double y = c_.b0 * v + (c_.b1 * w[0] + c_.b2 * w[1]);
        w = {v, w[0]};
        return y;
    }
    VelmoBiquadCoeffs c_;
    std::array<double, 2> l_{}, r_{};
};

enum Kernel { kOff, kCD, kMP3, kCD32, kMP332 };

// Every line of the library once, shared the way the library shares them.
struct Enhancer {
    Fir off{sOff_hf};
    Fir cdLow{sVelmoCDlf}, cdHigh128{sVelmoCDhf128}, cdHigh32{sVelmoCDhf32};
    Fir mp3Low{sVelmoMP3lf}, mp3High128{sVelmoMP3hf128}, mp3High32{sVelmoMP3hf32};
    Fir highPass{sVelmohpf2};
    DecAM envelope;
    Biquad cdOut{sVelmoLpf2}, mp3Out{sVelmoLpf2};

    // What the library's initialisation clears: not the high-pass, not the sections.
    void init() {
        for (Fir* f : {&off, &cdLow, &cdHigh128, &cdHigh32, &mp3Low, &mp3High128, &mp3High32})
            f->clear();
        envelope.clear();
    }

    // Two output frames for one input frame.
    std::array<Frame, 2> run(Kernel k, Frame x) {
        if (k == kOff) return {off.step(x), off.step(x)};
        const bool cd = k == kCD || k == kCD32;
        Fir& low = cd ? cdLow : mp3Low;
        Fir& high = k == kCD ? cdHigh128 : k == kCD32 ? cdHigh32 : k == kMP3 ? mp3High128 : mp3High32;
        Biquad& out = cd ? cdOut : mp3Out;
        const double gain = cd ? 10.0 : 40.0;
        std::array<Frame, 2> y;
        for (Frame& instant : y) {
            const Frame a = low.step(x);
            const Frame c = high.step(envelope.step(highPass.step(a)));
            instant = out.step({a.l + c.l * gain, a.r + c.r * gain});
        }
        return y;
    }
};

// Uncorrelated noise at half scale with a strong treble, so that every
// band of the enhancer carries signal.
inline std::vector<double> noise(std::size_t doubles, unsigned seed) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> u(-0.5, 0.5);
    std::vector<double> v(doubles);
    for (double& s : v) s = u(gen);
    return v;
}

}  // namespace velmo_model

#endif
