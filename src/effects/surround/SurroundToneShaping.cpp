#include <quorvex/SurroundFilter.h>

#include "effects/surround/SurroundToneShaping.h"

void booster_48k(double inL, double inR, double* outL, double* outR) {
    const surround::Lanes y = surround::toneShape48k(surround::Lanes{inL, inR});
    *outL = y[0];
    *outR = y[1];
}

void booster_96k(double inL, double inR, double* outL, double* outR) {
    const surround::Lanes y = surround::toneShape96k(surround::Lanes{inL, inR});
    *outL = y[0];
    *outR = y[1];
}
