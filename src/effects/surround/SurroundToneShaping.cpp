#include <quorvex/SurroundFilter.h>

namespace {

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

// Intermediate values w of one and two samples back, per section, with the
// left channel in lane 0 (dl11, dl12, ...) and the right in lane 1 (dr11,
// dr12, ...), so both channels of a section share one pair of registers.
struct CascadeHistory {
    double w1[kSections][2];
    double w2[kSections][2];
};

void runCascade(const Cascade& sections, CascadeHistory& h, double inL, double inR,
                double* outL, double* outR) {
    double v[2] = {inL, inR};
    for (int k = 0; k < kSections; ++k) {
        const Section& s = sections[k];
        for (int ch = 0; ch < 2; ++ch) {
            const double w1 = h.w1[k][ch];
            const double w2 = h.w2[k][ch];
            const double w = v[ch] + (s.a1 * w1 + s.a2 * w2);
            v[ch] = w * s.b0 + (s.b1 * w1 + s.b2 * w2);
            h.w2[k][ch] = w1;
            h.w1[k][ch] = w;
        }
    }
    *outL = v[0];
    *outR = v[1];
}

}  // namespace

// The histories live from load to exit: no reset or parameter change of the
// surround effect touches them.
void booster_48k(double inL, double inR, double* outL, double* outR) {
    static CascadeHistory history;
    runCascade(kBooster48k, history, inL, inR, outL, outR);
}

void booster_96k(double inL, double inR, double* outL, double* outR) {
    static CascadeHistory history;
    runCascade(kBooster96k, history, inL, inR, outL, outR);
}
