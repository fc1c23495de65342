#include <quorvex/SurroundFilter.h>

#include <cstring>
#include <initializer_list>

namespace {

// Long enough for the longest hall length at 96 kHz with room to spare; no
// stage reaches past frame 8455.
constexpr int kLineFrames = 19200;
using DelayLine = double[kLineFrames][2];
using ToneShaper = void (*)(double, double, double*, double*);

constexpr int kHall = 0x01;
constexpr int kNatural = 0x02;
constexpr int kLive = 0x04;
constexpr int kWide = 0x08;
constexpr int kEcho = 0x10;
constexpr int k3d = 0x20;

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

inline void allpassStep(double* ioL, double* ioR, double coef, double (*line)[2], int delay,
                        int* position) {
    const int p = *position;
    const double d0 = line[p][0];
    const double d1 = line[p][1];
    const double w0 = d0 * coef + *ioL;
    const double w1 = coef * d1 + *ioR;
    const double y0 = d0 + w0 * (-coef);
    const double y1 = d1 + (-coef) * w1;
    line[p][0] = w0;
    line[p][1] = w1;
    *position = p + 1 < delay ? p + 1 : 0;
    *ioL = y0;
    *ioR = y1;
}

// Feedback comb: the frame read out is the output, the frame written back is
// the input plus the scaled output.
inline void combStep(DelayLine& line, int* position, int length, double c, double L, double R,
                     double* out0, double* out1) {
    const int p = *position;
    const double d0 = line[p][0];
    const double d1 = line[p][1];
    line[p][0] = L + c * d0;
    line[p][1] = R + c * d1;
    *position = p + 1 >= length ? 0 : p + 1;
    *out0 = d0;
    *out1 = d1;
}

// Hall lengths are given at 88.2/96 kHz and halved below.
template <int kScale>
int hallLength(int samples) {
    return kScale == 1 ? samples / 2 : samples;
}

template <int kScale>
void hallStage(double& L, double& R) {
    const double g = 0.35 * egain_hall + 0.25;
    const int m1 = hallLength<kScale>(hall_m1);
    const int m2 = hallLength<kScale>(hall_m2);
    const int m3 = hallLength<kScale>(hall_m3);
    double a = L - R;
    double b = R - L;
    allpassStep(&a, &b, hall_ga1, y1_hall, m1, &n1);
    allpassStep(&a, &b, hall_ga1, y2_hall, m2, &n2);
    allpassStep(&a, &b, hall_ga1, y3_hall, m3, &n3);
    L = L - g * a;
    R = R - g * b;
    a = L;
    b = R;
    allpassStep(&a, &b, hall_ga2, y1_hall, m1, &n1);
    allpassStep(&a, &b, hall_ga2, y2_hall, m2, &n2);
    L = L + g * a;
    R = R + g * b;
}

// Only the left output of the first comb and the right output of the second
// reach the signal; the other two circulate in the lines.
template <int kScale, ToneShaper kToneShape>
void naturalStage(double& L, double& R) {
    const double c = 0.125 * egain_natural + 0.125;
    double d0, d1, e0, e1;
    combStep(y1c, &n1c, kNaturalComb1 * kScale, c, L, R, &d0, &d1);
    combStep(y2c, &n2c, kNaturalComb2 * kScale, c, L, R, &e0, &e1);
    kToneShape(L, R, &L, &R);
    L = (0.75 * L + (d0 - e1) * c) * 1.2;
    R = (0.75 * R + (e1 - d0) * c) * 1.2;
}

// Fully wet: the dry signal does not pass.
template <int kScale>
void liveStage(double& L, double& R) {
    const double c = 0.25 * gc_live + 0.25;
    double d0, d1, e0, e1;
    combStep(y1c, &n1c, kLiveComb1 * kScale, c, L, R, &d0, &d1);
    combStep(y2c, &n2c, kLiveComb2 * kScale, c, L, R, &e0, &e1);
    L = d0;
    R = e1;
}

// Two all-passes of different lengths on copies of the frame, one kept per
// channel; both channels of each still run through the lines.
template <int kScale>
void wideStage(double& L, double& R) {
    const double c = 0.25 * egain_wide + 0.25;
    double l1 = L, r1 = R, l2 = L, r2 = R;
    allpassStep(&l1, &r1, c, y1_hall, kWideLeft * kScale, &n1);
    allpassStep(&l2, &r2, c, y2_hall, kWideRight * kScale, &n2);
    L = l1;
    R = r2;
}

template <int kScale>
void echoStage(double& L, double& R) {
    double p = L, q = R;
    allpassStep(&p, &q, kEchoGain, y_echo, kEchoDelay * kScale, &n1);
    L = L + egain_echo * p;
    R = R + egain_echo * q;
}

template <int kScale>
void threeDStage(double& L, double& R) {
    double p = L, q = R;
    allpassStep(&p, &q, ga_3d, y_3d, k3dDelay * kScale, &n1);
    const double G = egain_3d;
    const double left = (L + G * p) + (L - R) * G;
    const double right = (R + G * q) + (R - L) * G;
    L = left;
    R = right;
}

template <int kScale, ToneShaper kToneShape>
void surroundFrame(double inL, double inR, double* outL, double* outR) {
    double L = inL, R = inR;
    const int mode = emode;
    if (mode & kHall) hallStage<kScale>(L, R);
    if (mode & kNatural) naturalStage<kScale, kToneShape>(L, R);
    if (mode & kLive) liveStage<kScale>(L, R);
    if (mode & kWide) wideStage<kScale>(L, R);
    if (mode & kEcho) echoStage<kScale>(L, R);
    if (mode & k3d) threeDStage<kScale>(L, R);
    *outL = L;
    *outR = R;
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

void allpass(double* ioL, double* ioR, double coef, double (*line)[2], int delay,
             int* position) {
    allpassStep(ioL, ioR, coef, line, delay, position);
}

void Surround_44k(double inL, double inR, double* outL, double* outR) {
    surroundFrame<1, booster_48k>(inL, inR, outL, outR);
}

void Surround_88k(double inL, double inR, double* outL, double* outR) {
    surroundFrame<2, booster_96k>(inL, inR, outL, outR);
}
