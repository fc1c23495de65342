#include <quorvex/Velmo.h>

#include "rate/velmo/VelmoBlocks.h"
#include "rate/velmo/VelmoSections.h"
#include "rate/velmo/VelmoTables.h"

namespace {

// The rectified envelope of the low band's upper treble is band-limited to
// above the split and mixed in, and the output section smooths the sum. Each
// line takes the steps of both output instants in one pass, the output section
// one instant after the other: every line still sees the same inputs in the
// same order as with the instants run one after the other, so the results are
// the same.
template <VelmoHeldSteps LowBand, VelmoTwoSteps HighBand, VelmoStereoStep Output>
inline void enhance(double inL, double inR, double gain, double* outL0, double* outR0,
                    double* outL1, double* outR1) {
    VelmoSettleBlocks();
    VelmoInstants a;
    LowBand(inL, inR, &a[0].l, &a[0].r, &a[1].l, &a[1].r);
    const VelmoInstants c = HighBand(dec_am(Velmohpf2(a)));
    Output(a[0].l + c[0].l * gain, a[0].r + c[0].r * gain, outL0, outR0);
    Output(a[1].l + c[1].l * gain, a[1].r + c[1].r * gain, outL1, outR1);
}

}  // namespace

void Velmo_OFF(double inL, double inR, double* outL0, double* outR0, double* outL1, double* outR1) {
    VelmoSettleBlocks();
    VelmoOffhf(inL, inR, outL0, outR0, outL1, outR1);
}

void VelmoCDUpSampler(double inL, double inR, double* outL0, double* outR0, double* outL1,
                      double* outR1) {
    enhance<VelmoCDlf, VelmoCDhf128, VelmoCDlpf2>(inL, inR, kVelmoCDGain, outL0, outR0, outL1,
                                                  outR1);
}

void VelmoMP3UpSampler(double inL, double inR, double* outL0, double* outR0, double* outL1,
                       double* outR1) {
    enhance<VelmoMP3lf, VelmoMP3hf128, VelmoMP3lpf2>(inL, inR, kVelmoMP3Gain, outL0, outR0, outL1,
                                                     outR1);
}

void VelmoCDUpSampler32(double inL, double inR, double* outL0, double* outR0, double* outL1,
                        double* outR1) {
    enhance<VelmoCDlf, VelmoCDhf32, VelmoCDlpf2>(inL, inR, kVelmoCDGain, outL0, outR0, outL1,
                                                 outR1);
}

void VelmoMP3UpSampler32(double inL, double inR, double* outL0, double* outR0, double* outL1,
                         double* outR1) {
    enhance<VelmoMP3lf, VelmoMP3hf32, VelmoMP3lpf2>(inL, inR, kVelmoMP3Gain, outL0, outR0, outL1,
                                                    outR1);
}
