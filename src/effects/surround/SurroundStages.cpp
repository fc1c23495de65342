#include <quorvex/SurroundFilter.h>

#include <quorvex/ParamBlocks.h>

#include <cstring>
#include <initializer_list>

#include "dsp/StereoLanes.h"
#include "effects/surround/SurroundToneShaping.h"

namespace {

// Long enough for the longest hall length at 96 kHz with room to spare; no
// stage reaches past frame 8455.
constexpr int kLineFrames = 19200;
using DelayLine = double[kLineFrames][2];
using Lanes = dsp::StereoLanes;
using dsp::loadLanes;
using dsp::storeLanes;
using ToneShaper = Lanes (*)(Lanes);

using quorvex::surround_block::k3d;
using quorvex::surround_block::kEcho;
using quorvex::surround_block::kHall;
using quorvex::surround_block::kLive;
using quorvex::surround_block::kNatural;
using quorvex::surround_block::kWide;

// Fixed lengths at 44.1/48 kHz; the 88.2/96 kHz kernel doubles them.
constexpr int kNaturalComb1 = 613;
constexpr int kNaturalComb2 = 499;
constexpr int kLiveComb1 = 2512;
constexpr int kLiveComb2 = 2048;
constexpr int kWideLeft = 1524;
constexpr int kWideRight = 1024;
constexpr int kEchoDelay = 2048;
constexpr int k3dDelay = 1024;
constexpr double kEchoGain = 0.15;

// Process-wide surround state, shared by every SurroundFilter. Parameters are
// loaded by SurroundInit only; lines and positions are also advanced by the
// kernels. Several stages share one position, each wrapping it against its
// own length, so the delays they hear depend on the order of the stages.
// ga_live and gm_3d are loaded with the rest but shape no stage.
int emode;
int hall_m1, hall_m2, hall_m3;
double hall_ga1, hall_ga2;
double egain_hall, egain_natural, egain_wide, egain_3d, egain_echo;
double ga_live, gc_live, ga_3d, gm_3d;

alignas(64) DelayLine y1_hall;
alignas(64) DelayLine y2_hall;
alignas(64) DelayLine y3_hall;
alignas(64) DelayLine y_echo;
alignas(64) DelayLine y_3d;
alignas(64) DelayLine y1c;
alignas(64) DelayLine y2c;

int n1, n2, n3, n1c, n2c;

void clearLine(DelayLine& line) { std::memset(line, 0, sizeof line); }

inline Lanes allpassStep(Lanes x, double coef, double (*line)[2], int delay, int* position) {
    const int p = *position;
    const Lanes d = loadLanes(line[p]);
    const Lanes w = d * coef + x;
    const Lanes y = d + w * (-coef);
    storeLanes(line[p], w);
    *position = p + 1 < delay ? p + 1 : 0;
    return y;
}

// Feedback comb: the frame read out is the output, the frame written back is
// the input plus the scaled output.
inline Lanes combStep(DelayLine& line, int* position, int length, double c, Lanes x) {
    const int p = *position;
    const Lanes d = loadLanes(line[p]);
    storeLanes(line[p], x + c * d);
    *position = p + 1 >= length ? 0 : p + 1;
    return d;
}

// The frame's channel difference, left minus right and right minus left.
Lanes difference(Lanes v) { return Lanes{v[0] - v[1], v[1] - v[0]}; }

// Hall lengths are given at 88.2/96 kHz and halved below.
template <int kScale>
int hallLength(int samples) {
    return kScale == 1 ? samples / 2 : samples;
}

template <int kScale>
Lanes hallStage(Lanes v) {
    const double g = 0.35 * egain_hall + 0.25;
    const int m1 = hallLength<kScale>(hall_m1);
    const int m2 = hallLength<kScale>(hall_m2);
    const int m3 = hallLength<kScale>(hall_m3);
    Lanes ab = difference(v);
    ab = allpassStep(ab, hall_ga1, y1_hall, m1, &n1);
    ab = allpassStep(ab, hall_ga1, y2_hall, m2, &n2);
    ab = allpassStep(ab, hall_ga1, y3_hall, m3, &n3);
    v = v - g * ab;
    ab = allpassStep(v, hall_ga2, y1_hall, m1, &n1);
    ab = allpassStep(ab, hall_ga2, y2_hall, m2, &n2);
    return v + g * ab;
}

// Only the left output of the first comb and the right output of the second
// reach the signal; the other two circulate in the lines.
template <int kScale, ToneShaper kToneShape>
Lanes naturalStage(Lanes v) {
    const double c = 0.125 * egain_natural + 0.125;
    const Lanes d = combStep(y1c, &n1c, kNaturalComb1 * kScale, c, v);
    const Lanes e = combStep(y2c, &n2c, kNaturalComb2 * kScale, c, v);
    v = kToneShape(v);
    const Lanes cross = {d[0] - e[1], e[1] - d[0]};
    return (0.75 * v + cross * c) * 1.2;
}

// Fully wet: the dry signal does not pass.
template <int kScale>
Lanes liveStage(Lanes v) {
    const double c = 0.25 * gc_live + 0.25;
    const Lanes d = combStep(y1c, &n1c, kLiveComb1 * kScale, c, v);
    const Lanes e = combStep(y2c, &n2c, kLiveComb2 * kScale, c, v);
    return Lanes{d[0], e[1]};
}

// Two all-passes of different lengths on copies of the frame, one kept per
// channel; both channels of each still run through the lines.
template <int kScale>
Lanes wideStage(Lanes v) {
    const double c = 0.25 * egain_wide + 0.25;
    const Lanes left = allpassStep(v, c, y1_hall, kWideLeft * kScale, &n1);
    const Lanes right = allpassStep(v, c, y2_hall, kWideRight * kScale, &n2);
    return Lanes{left[0], right[1]};
}

template <int kScale>
Lanes echoStage(Lanes v) {
    const Lanes p = allpassStep(v, kEchoGain, y_echo, kEchoDelay * kScale, &n1);
    return v + egain_echo * p;
}

template <int kScale>
Lanes threeDStage(Lanes v) {
    const Lanes p = allpassStep(v, ga_3d, y_3d, k3dDelay * kScale, &n1);
    const double G = egain_3d;
    return (v + G * p) + difference(v) * G;
}

template <int kScale, ToneShaper kToneShape>
void surroundFrame(double inL, double inR, double* outL, double* outR) {
    Lanes v = {inL, inR};
    const int mode = emode;
    if (mode & kHall) v = hallStage<kScale>(v);
    if (mode & kNatural) v = naturalStage<kScale, kToneShape>(v);
    if (mode & kLive) v = liveStage<kScale>(v);
    if (mode & kWide) v = wideStage<kScale>(v);
    if (mode & kEcho) v = echoStage<kScale>(v);
    if (mode & k3d) v = threeDStage<kScale>(v);
    *outL = v[0];
    *outR = v[1];
}

}  // namespace

void SurroundInit(const SurroundConfigParams& params) {
    emode = params.emode;
    egain_hall = params.egain_hall;
    egain_3d = params.egain_3d;
    egain_echo = params.egain_echo;
    egain_natural = params.egain_natural;
    egain_wide = params.egain_wide;
    hall_m1 = params.hall_m1;
    hall_m2 = params.hall_m2;
    hall_m3 = params.hall_m3;
    hall_ga1 = params.hall_ga1;
    hall_ga2 = params.hall_ga2;
    ga_live = params.ga_live;
    gc_live = params.gc_live;
    ga_3d = params.ga_3d;
    gm_3d = params.gm_3d;

    n1 = n2 = n3 = 0;
    for (DelayLine* line : {&y1_hall, &y2_hall, &y3_hall, &y_echo, &y_3d, &y1c, &y2c})
        clearLine(*line);
    n1c = n2c = 0;
}

void allpass(double* ioL, double* ioR, double coef, double (*line)[2], int delay, int* position) {
    const Lanes y = allpassStep(Lanes{*ioL, *ioR}, coef, line, delay, position);
    *ioL = y[0];
    *ioR = y[1];
}

void Surround_44k(double inL, double inR, double* outL, double* outR) {
    surroundFrame<1, surround::toneShape48k>(inL, inR, outL, outR);
}

void Surround_88k(double inL, double inR, double* outL, double* outR) {
    surroundFrame<2, surround::toneShape96k>(inL, inR, outL, outR);
}
