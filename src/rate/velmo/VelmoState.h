#ifndef QUORVEX_RATE_VELMO_VELMOSTATE_H
#define QUORVEX_RATE_VELMO_VELMOSTATE_H

// The enhancer's process-wide history, defined in VelmoSections.cpp and shared
// with the block passes of VelmoBlocks.cpp. Between calls every FIR line holds
// the partial sums of its transposed form and the envelope history its last
// inputs, whichever path ran last, so per-frame and block calls can take turns.

#include "dsp/Section.h"

namespace velmo_state {

// FIR delay lines, left channel in 0 .. N-1, right in N .. 2N-1; VelmoInit
// clears them.
extern double sOff_hf_d[2 * 65];
extern double sVelmoCDlf_d[2 * 33];
extern double sVelmoCDhf32_d[2 * 33];
extern double sVelmoCDhf128_d[2 * 129];
extern double sVelmoMP3lf_d[2 * 33];
extern double sVelmoMP3hf32_d[2 * 33];
extern double sVelmoMP3hf128_d[2 * 129];

// The last inputs of the envelope detector, newest first, the newest twice
// (u[0] and u[1]); VelmoInit clears them.
constexpr int kDecAMTaps = 17;
constexpr int kDecAMCentre = 8;
extern double sDecAM_ul[kDecAMTaps];
extern double sDecAM_ur[kDecAMTaps];

// The high-pass line in front of the envelope detector, shared by every
// enhancer kernel and never cleared.
extern double sVelmohpf2_d[2 * 33];

// Section states are never cleared: they run from load to exit.
struct BiquadState {
    dsp::SectionHistory<double> left, right;
};

extern BiquadState sCDlpf2;
extern BiquadState sMP3lpf2;

}  // namespace velmo_state

#endif
