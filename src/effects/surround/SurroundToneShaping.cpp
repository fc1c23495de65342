#include <quorvex/SurroundFilter.h>

#include "effects/surround/SurroundToneShaping.h"

void booster_48k(double inL, double inR, double* outL, double* outR) {
    const dsp::StereoLanes y = surround::toneShape48k(dsp::StereoLanes{inL, inR});
    *outL = y[0];
    *outR = y[1];
}

void booster_96k(double inL, double inR, double* outL, double* outR) {
    const dsp::StereoLanes y = surround::toneShape96k(dsp::StereoLanes{inL, inR});
    *outL = y[0];
    *outR = y[1];
}
