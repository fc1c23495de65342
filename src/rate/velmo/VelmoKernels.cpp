#include <quorvex/Velmo.h>

#include "rate/velmo/VelmoSections.h"

namespace {

constexpr double kCDGain = 10.0;
constexpr double kMP3Gain = 40.0;

// One output instant of an enhancer, from its low band: the rectified
// envelope of the low band's upper treble is band-limited to above the split
// and mixed in, and the output section smooths the sum.
template <VelmoStereoStep HighBand, VelmoStereoStep Output>
inline void enhanceInstant(double aL, double aR, double gain, double* outL, double* outR) {
    double bL, bR, eL, eR, cL, cR;
    Velmohpf2(aL, aR, &bL, &bR);
    dec_am(bL, bR, &eL, &eR);
    HighBand(eL, eR, &cL, &cR);
    Output(aL + cL * gain, aR + cR * gain, outL, outR);
}

// The low band sees the input held for both instants and takes its two steps
// at once; every other line then advances for the first instant and again for
// the second. Each line sees the same inputs in the same order as with the
// instants run one after the other, so the results are the same.
template <VelmoHeldSteps LowBand, VelmoStereoStep HighBand, VelmoStereoStep Output>
inline void enhance(double inL, double inR, double gain, double* outL0, double* outR0,
                    double* outL1, double* outR1) {
    double a0L, a0R, a1L, a1R;
    LowBand(inL, inR, &a0L, &a0R, &a1L, &a1R);
    enhanceInstant<HighBand, Output>(a0L, a0R, gain, outL0, outR0);
    enhanceInstant<HighBand, Output>(a1L, a1R, gain, outL1, outR1);
}

}  // namespace

void Velmo_OFF(double inL, double inR, double* outL0, double* outR0, double* outL1,
               double* outR1) {
    VelmoOffhf(inL, inR, outL0, outR0, outL1, outR1);
}

void VelmoCDUpSampler(double inL, double inR, double* outL0, double* outR0, double* outL1,
                      double* outR1) {
    enhance<VelmoCDlf, VelmoCDhf128, VelmoCDlpf2>(inL, inR, kCDGain, outL0, outR0, outL1, outR1);
}

void VelmoMP3UpSampler(double inL, double inR, double* outL0, double* outR0, double* outL1,
                       double* outR1) {
    enhance<VelmoMP3lf, VelmoMP3hf128, VelmoMP3lpf2>(inL, inR, kMP3Gain, outL0, outR0, outL1,
                                                      outR1);
}

void VelmoCDUpSampler32(double inL, double inR, double* outL0, double* outR0, double* outL1,
                        double* outR1) {
    enhance<VelmoCDlf, VelmoCDhf32, VelmoCDlpf2>(inL, inR, kCDGain, outL0, outR0, outL1, outR1);
}

void VelmoMP3UpSampler32(double inL, double inR, double* outL0, double* outR0, double* outL1,
                         double* outR1) {
    enhance<VelmoMP3lf, VelmoMP3hf32, VelmoMP3lpf2>(inL, inR, kMP3Gain, outL0, outR0, outL1,
                                                     outR1);
}
