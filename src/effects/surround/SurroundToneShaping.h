#ifndef QUORVEX_SURROUND_TONESHAPING_H
#define QUORVEX_SURROUND_TONESHAPING_H

// The natural stage's tone shaping, inline so the surround kernels run it
// without a call; booster_48k and booster_96k export the same code and the
// same histories.

namespace surround {

// Left channel in lane 0, right in lane 1: every operation acts on both
// channels at once, each lane in the order of the scalar recurrence.
typedef double Lanes __attribute__((vector_size(16)));

// One section: w = x + (a1*w1 + a2*w2), y = w*b0 + (b1*w1 + b2*w2). The
// feedback coefficients carry the sign with which they are added.
struct Section {
    double b0, a1, a2, b1, b2;
};

constexpr int kSections = 3;
using Cascade = Section[kSections];

// Both cascades: a +3 dB peak at 150 Hz, a -3 dB dip at 4 kHz and a treble
// shelf rising to +6 dB at Nyquist, each at the rate it is named after.
constexpr Cascade kBooster48k = {
    {1.00338, 1.983233, -0.9836156, -1.983233, 0.9802361},
    {0.8954655, 1.112101, -0.2841431, -1.112101, 0.3886776},
    {1.380013, -0.3110603, -0.05465424, -0.05897516, 0.04467668},
};
constexpr Cascade kBooster96k = {
    {1.001697, 1.991678, -0.9917737, -1.991678, 0.9900769},
    {0.9345971, 1.499231, -0.5521179, -1.499231, 0.6175208},
    {1.613856, 0.6173201, -0.1215751, -1.482649, 0.3730477},
};

// Intermediate values w of one and two samples back per section: dl11/dr11
// are w1[0], dl12/dr12 are w2[0], and so on.
struct CascadeHistory {
    Lanes w1[kSections];
    Lanes w2[kSections];
};

inline Lanes runCascade(const Cascade& sections, CascadeHistory& h, Lanes x) {
    for (int k = 0; k < kSections; ++k) {
        const Section& s = sections[k];
        const Lanes w1 = h.w1[k];
        const Lanes w2 = h.w2[k];
        const Lanes w = x + (s.a1 * w1 + s.a2 * w2);
        x = w * s.b0 + (s.b1 * w1 + s.b2 * w2);
        h.w2[k] = w1;
        h.w1[k] = w;
    }
    return x;
}

// The histories live from load to exit: no reset or parameter change of the
// surround effect touches them.
inline Lanes toneShape48k(Lanes x) {
    static CascadeHistory history;
    return runCascade(kBooster48k, history, x);
}

inline Lanes toneShape96k(Lanes x) {
    static CascadeHistory history;
    return runCascade(kBooster96k, history, x);
}

}  // namespace surround

#endif
