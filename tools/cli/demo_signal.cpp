#include "demo_signal.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace {

const double kPi = std::acos(-1.0);
constexpr int kTaps = 511;  // long enough for a transition of about 500 Hz at 88.2 kHz

// Windowed-sinc low-pass (Blackman window, about 74 dB of stop-band rejection).
std::vector<double> lowPass(double cutoffHz, int rate) {
    const double fc = cutoffHz / rate;
    const int middle = kTaps / 2;
    std::vector<double> taps(kTaps);
    for (int n = 0; n < kTaps; ++n) {
        const int k = n - middle;
        const double sinc = k == 0 ? 2.0 * fc : std::sin(2.0 * kPi * fc * k) / (kPi * k);
        const double w = 0.42 - 0.5 * std::cos(2.0 * kPi * n / (kTaps - 1)) +
                         0.08 * std::cos(4.0 * kPi * n / (kTaps - 1));
        taps[n] = sinc * w;
    }
    return taps;
}

// A high-pass with the same edge: the delayed input less the low-pass.
std::vector<double> highPass(double cutoffHz, int rate) {
    std::vector<double> taps = lowPass(cutoffHz, rate);
    for (double& t : taps) t = -t;
    taps[kTaps / 2] += 1.0;
    return taps;
}

// Each channel convolved with `taps`, aligned so that the filter adds no delay.
std::vector<double> convolved(const std::vector<double>& stereo, const std::vector<double>& taps) {
    const long frames = static_cast<long>(stereo.size() / 2);
    const long middle = static_cast<long>(taps.size() / 2);
    std::vector<double> out(stereo.size(), 0.0);
    for (long f = 0; f < frames; ++f)
        for (int c = 0; c < 2; ++c) {
            double sum = 0.0;
            for (long k = 0; k < static_cast<long>(taps.size()); ++k) {
                const long source = f + middle - k;
                if (source >= 0 && source < frames) sum += taps[k] * stereo[2 * source + c];
            }
            out[2 * f + c] = sum;
        }
    return out;
}

// A plucked note: harmonics falling as 1/h, all kept below `ceilingHz`.
double pluck(double pitch, double t, double ceilingHz) {
    double x = 0.0;
    for (int h = 1; h * pitch < ceilingHz; ++h) x += std::sin(2.0 * kPi * pitch * h * t) / h;
    return x * std::exp(-3.0 * t) * std::min(1.0, t * 200.0);
}

}  // namespace

std::vector<double> demoSignal(int rate, double seconds, double cutoffHz) {
    const double notes[] = {110.0, 164.81, 220.0, 277.18, 329.63, 246.94, 196.0, 146.83};
    const double noteLength = 0.5;
    const long frames = static_cast<long>(seconds * rate);
    std::mt19937 random(1);
    std::uniform_real_distribution<double> noise(-1.0, 1.0);
    const double top = 0.95 * cutoffHz;  // tones and sweep stay inside the pass band
    std::vector<double> stereo(2 * frames);
    for (long f = 0; f < frames; ++f) {
        const double t = static_cast<double>(f) / rate;
        const int note = static_cast<int>(t / noteLength);
        const double sinceNote = t - note * noteLength;
        const double tone = pluck(notes[note % 8], sinceNote, top) +
                            0.6 * pluck(2.0 * notes[(note + 3) % 8], sinceNote, top);
        const double rise = std::pow(top / 200.0, t / seconds);  // exponential sweep from 200 Hz
        const double sweep =
            0.15 * std::sin(2.0 * kPi * 200.0 * seconds / std::log(top / 200.0) * (rise - 1.0));
        const double sinceBurst = std::fmod(t, noteLength / 2.0);
        const double hiss = 0.3 * noise(random) * std::exp(-40.0 * sinceBurst);
        stereo[2 * f] = 0.7 * tone + sweep + hiss;
        stereo[2 * f + 1] = 0.5 * tone + sweep - hiss;
    }
    stereo = convolved(stereo, lowPass(cutoffHz, rate));
    double peak = 0.0;
    for (double x : stereo) peak = std::max(peak, std::fabs(x));
    const double scale = std::pow(10.0, -1.0 / 20.0) / peak;
    for (double& x : stereo) x *= scale;
    return stereo;
}

double levelAbove(const std::vector<double>& stereo, int rate, double hz) {
    const std::vector<double> band = convolved(stereo, highPass(hz, rate));
    double sum = 0.0;
    for (double x : band) sum += x * x;
    const double rms = band.empty() ? 0.0 : std::sqrt(sum / band.size());
    return rms > 0.0 ? 20.0 * std::log10(rms) : -INFINITY;
}
