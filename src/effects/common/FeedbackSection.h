#ifndef QUORVEX_EFFECTS_COMMON_FEEDBACKSECTION_H
#define QUORVEX_EFFECTS_COMMON_FEEDBACKSECTION_H

// The second-order section of the host-designed corrections (headphone
// equalizer, personalizer): every output of a frame is formed first, and only
// then does each section's history move on.

namespace effects {

// Feedback sum, feed-forward sum and output of one section for input x and
// history d1 (one frame ago), d2 (two frames ago). The feedback is added.
inline void sectionSums(double x, double a1, double a2, double b0, double b1, double b2,
                        double d1, double d2, double* xa, double* xb, double* xo) {
    *xa = a1 * d1 + a2 * d2;
    *xb = b1 * d1 + b2 * d2;
    *xo = (x + *xa) * b0 + *xb;
}

// The history after a frame whose input was x and feedback sum xa.
inline void advanceSection(double x, double xa, double* d1, double* d2) {
    *d2 = *d1;
    *d1 = x + xa;
}

}  // namespace effects

#endif
