#ifndef QUORVEX_SURROUND_TONESHAPING_H
#define QUORVEX_SURROUND_TONESHAPING_H

// The natural stage's tone shaping, inline so the surround kernels run it
// without a call; booster_48k and booster_96k export the same code and the
// same histories. Both channels run together in the lanes of a StereoLanes.

#include "dsp/Section.h"
#include "dsp/StereoLanes.h"

namespace surround {

constexpr int kSections = 3;
using Cascade = dsp::SectionCoeffs[kSections];
using CascadeHistory = dsp::SectionHistory<dsp::StereoLanes>[kSections];

// Both cascades: a +3 dB peak at 150 Hz, a -3 dB dip at 4 kHz and a treble
// shelf rising to +6 dB at Nyquist, each at the rate it is named after.
constexpr Cascade kBooster48k = {
    {1.00338, -1.983233, 0.9802361, 1.983233, -0.9836156},
    {0.8954655, -1.112101, 0.3886776, 1.112101, -0.2841431},
    {1.380013, -0.05897516, 0.04467668, -0.3110603, -0.05465424},
};
constexpr Cascade kBooster96k = {
    {1.001697, -1.991678, 0.9900769, 1.991678, -0.9917737},
    {0.9345971, -1.499231, 0.6175208, 1.499231, -0.5521179},
    {1.613856, -1.482649, 0.3730477, 0.6173201, -0.1215751},
};

// The histories live from load to exit: no reset or parameter change of the
// surround effect touches them.
inline dsp::StereoLanes toneShape48k(dsp::StereoLanes x) {
    static CascadeHistory history;
    return dsp::runCascade(kBooster48k, history, kSections, x);
}

inline dsp::StereoLanes toneShape96k(dsp::StereoLanes x) {
    static CascadeHistory history;
    return dsp::runCascade(kBooster96k, history, kSections, x);
}

}  // namespace surround

#endif
