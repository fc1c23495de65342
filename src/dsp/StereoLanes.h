#ifndef QUORVEX_DSP_STEREOLANES_H
#define QUORVEX_DSP_STEREOLANES_H

// Two doubles side by side in one vector, left in lane 0 and right in lane 1
// for a stereo frame. Every operation acts on each lane alone, in the order
// written, so a lane holds exactly the value the scalar code would.

#include <cstring>

namespace dsp {

typedef double StereoLanes __attribute__((vector_size(16)));

// The two neighbouring doubles at `p`, at any alignment.
inline StereoLanes loadLanes(const double* p) {
    StereoLanes v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

inline void storeLanes(double* p, StereoLanes v) { std::memcpy(p, &v, sizeof v); }

}  // namespace dsp

#endif
