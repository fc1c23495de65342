#include <quorvex/Velmo.h>

#include "rate/velmo/VelmoSections.h"

namespace {

constexpr double kCDGain = 10.0;
constexpr double kMP3Gain = 40.0;

// One output instant of an enhancer: the low band carries the source up to
// the split, the rectified envelope of its upper treble is band-limited to
// above the split and mixed in, and the output section smooths the sum.
template <VelmoStereoStep LowBand, VelmoStereoStep HighBand, VelmoStereoStep Output>
inline void enhanceInstant(double inL, double inR, double gain, double* outL, double* outR) {
    double aL, aR, bL, bR, eL, eR, cL, cR;
    LowBand(inL, inR, &aL, &aR);
    Velmohpf2(aL, aR, &bL, &bR);
    dec_am(bL, bR, &eL, &eR);
    HighBand(eL, eR, &cL, &cR);
    Output(aL + cL * gain, aR + cR * gain, outL, outR);
}

// The input is held for both output instants; the second sees the history
// the first left in every line.
template <VelmoStereoStep LowBand, VelmoStereoStep HighBand, VelmoStereoStep Output>
inline void enhance(double inL, double inR, double gain, double* outL0, double* outR0,
                    double* outL1, double* outR1) {
    enhanceInstant<LowBand, HighBand, Output>(inL, inR, gain, outL0, outR0);
    enhanceInstant<LowBand, HighBand, Output>(inL, inR, gain, outL1, outR1);
}

}  // namespace

void Velmo_OFF(double inL, double inR, double* outL0, double* outR0, double* outL1,
               double* outR1) {
    double l0, r0, l1, r1;
    VelmoOffhf(inL, inR, &l0, &r0);
    VelmoOffhf(inL, inR, &l1, &r1);
    *outL0 = l0;
    *outR0 = r0;
    *outL1 = l1;
    *outR1 = r1;
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
