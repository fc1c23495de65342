#ifndef QUORVEX_DSP_SECTION_H
#define QUORVEX_DSP_SECTION_H

// The second-order section every recursive filter of the library runs:
// H(z) = (b0 + b1 z^-1 + b2 z^-2) / (1 - a1 z^-1 - a2 z^-2), in direct form II.
// The feedback coefficients carry the sign with which they are added.

namespace dsp {

// C is double, or StereoLanes for a pair of sections side by side, one per
// lane.
template <typename C>
struct BasicSectionCoeffs {
    C b0, b1, b2, a1, a2;
};

using SectionCoeffs = BasicSectionCoeffs<double>;

// The section's internal value one frame back (d1) and two frames back (d2).
template <typename T>
struct SectionHistory {
    T d1, d2;
};

// One input through a section, for a double or for both lanes of a
// StereoLanes, whose coefficients may then differ from lane to lane. The
// grouping of the sums is part of the result: the feedback pair is summed
// before the input joins it, the feed-forward pair before the b0 term.
// In place, `x` becoming the output: wider vectors than a build's registers
// then never pass by value.
template <typename C, typename T>
inline void runSectionOn(const BasicSectionCoeffs<C>& c, SectionHistory<T>& h, T& x) {
    const T w = x + (c.a1 * h.d1 + c.a2 * h.d2);
    x = c.b0 * w + (c.b1 * h.d1 + c.b2 * h.d2);
    h.d2 = h.d1;
    h.d1 = w;
}

template <typename C, typename T>
inline T runSection(const BasicSectionCoeffs<C>& c, SectionHistory<T>& h, T x) {
    runSectionOn(c, h, x);
    return x;
}

// Sections 0 .. count-1 in turn, each with its own history.
template <typename T>
inline T runCascade(const SectionCoeffs* c, SectionHistory<T>* h, int count, T x) {
    for (int k = 0; k < count; ++k) x = runSection(c[k], h[k], x);
    return x;
}

}  // namespace dsp

#endif
