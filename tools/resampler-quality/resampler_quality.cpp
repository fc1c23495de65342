// Measures the resampler on pure tones. Every tone is placed exactly on a bin
// of a 65536-point FFT of the output, so a rectangular window shows it
// without leakage and every other bin holds only what the converter added.
//
//   passband ripple   gain of tones from 20 Hz to 20 kHz, max - min in dB
//   image rejection   tone level over the largest other component, for tones
//                     from 20 Hz to 20 kHz (images folded into the band)
//   high tones        the same for tones above 20 kHz; for input tones the
//                     output rate cannot carry, the level of their alias
//                     relative to the input amplitude
//   THD+N             everything but the tone from 20 Hz to 20 kHz, relative
//                     to a tone near 1 kHz at -1 dBFS
//
// Output is double precision, never quantised.

#include <quorvex/ReSamplingFilter.h>
#include <quorvex/fft.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

namespace {

constexpr int kFftSize = 65536;
constexpr int kSettleFrames = 2048;  // outputs skipped while the window fills
constexpr int kBlockFrames = 4096;
constexpr double kPi = 3.141592653589793;

struct Spectrum {
    std::vector<double> power;  // |X[k]|^2 for k = 0 .. kFftSize / 2
    int outRate;

    double binHz() const { return static_cast<double>(outRate) / kFftSize; }
    int binOf(double hz) const { return static_cast<int>(std::lround(hz / binHz())); }
};

// The left channel of the converter's output for a sine of `hz` at
// `amplitude`, transformed.
Spectrum convertTone(int inRate, int outRate, double hz, double amplitude) {
    ReSamplingFilter filter(inRate, 24, outRate, 24);
    std::vector<double> input(2 * kBlockFrames);
    std::vector<double> output(2 * (kBlockFrames * static_cast<long>(outRate) / inRate + 2));
    std::vector<double> kept;
    kept.reserve(kSettleFrames + kFftSize);
    long t = 0;
    while (static_cast<int>(kept.size()) < kSettleFrames + kFftSize) {
        for (int i = 0; i < kBlockFrames; ++i, ++t) {
            input[2 * i] = amplitude * std::sin(2.0 * kPi * hz * static_cast<double>(t) / inRate);
            input[2 * i + 1] = input[2 * i];
        }
        RealAudioBuffer in(input.data(), 2 * kBlockFrames, 2 * kBlockFrames, inRate, 24);
        RealAudioBuffer out(output.data(), static_cast<int>(output.size()), 0, outRate, 24);
        if (filter.process(&in, &out) != 0) break;
        for (int i = 0; i < out.length; i += 2) kept.push_back(output[i]);
    }
    std::vector<double> re(kept.begin() + kSettleFrames, kept.begin() + kSettleFrames + kFftSize);
    std::vector<double> im(kFftSize, 0.0);
    fft(kFftSize, re.data(), im.data());
    Spectrum s{std::vector<double>(kFftSize / 2 + 1), outRate};
    for (int k = 0; k <= kFftSize / 2; ++k) s.power[k] = re[k] * re[k] + im[k] * im[k];
    return s;
}

double dB(double powerRatio) { return 10.0 * std::log10(powerRatio); }

// A tone's level in dB relative to `amplitude` (a real sine of amplitude A
// shows A / 2 in its bin).
double toneGain(const Spectrum& s, int bin, double amplitude) {
    return dB(s.power[bin] / (amplitude * amplitude / 4.0));
}

double largestOtherThan(const Spectrum& s, int bin) {
    double largest = 0.0;
    for (int k = 0; k <= kFftSize / 2; ++k) {
        if (k != bin) largest = std::max(largest, s.power[k]);
    }
    return largest;
}

struct ToneResult {
    double hz;
    double gain;       // dB
    double rejection;  // tone over the largest other component, dB
};

void reportPassband(int inRate, int outRate) {
    const double amplitude = 0.5;
    const Spectrum probe{{}, outRate};
    std::vector<ToneResult> tones;
    // 40 tones spaced logarithmically from 20 Hz to 20 kHz, each on a bin.
    for (int i = 0; i < 40; ++i) {
        const int bin = probe.binOf(20.0 * std::pow(1000.0, i / 39.0));
        const double hz = bin * probe.binHz();
        const Spectrum s = convertTone(inRate, outRate, hz, amplitude);
        tones.push_back(
            {hz, toneGain(s, bin, amplitude), dB(s.power[bin] / largestOtherThan(s, bin))});
    }
    std::printf("  tone (Hz)   gain (dB)   rejection (dB)\n");
    for (size_t i = 3; i < tones.size(); i += 4)
        std::printf("  %9.1f  %+10.6f  %6.1f\n", tones[i].hz, tones[i].gain, tones[i].rejection);

    for (double edge : {10000.0, 16000.0, 18000.0, 20000.0}) {
        double lo = 1e9;
        double hi = -1e9;
        for (const ToneResult& t : tones) {
            if (t.hz > edge + 1.0) break;
            lo = std::min(lo, t.gain);
            hi = std::max(hi, t.gain);
        }
        std::printf("  passband ripple 20 Hz - %2.0f kHz: %.6f dB (%+.6f .. %+.6f)\n",
                    edge / 1000.0, hi - lo, lo, hi);
    }
    const ToneResult worst = *std::min_element(
        tones.begin(), tones.end(),
        [](const ToneResult& a, const ToneResult& b) { return a.rejection < b.rejection; });
    std::printf("  image/alias rejection, tones 20 Hz - 20 kHz: %.1f dB (worst at %.1f Hz)\n",
                worst.rejection, worst.hz);
}

// Tones above 20 kHz up to the input's Nyquist frequency. Where the output
// can carry the tone, the figure is the tone over everything else; where it
// cannot, it is the input amplitude over the alias the tone leaves behind.
void reportHighTones(int inRate, int outRate) {
    const double amplitude = 0.5;
    std::printf("  tones above 20 kHz:\n");
    for (double target = 20500.0; target < inRate / 2.0; target += 500.0) {
        const bool carried = target < outRate / 2.0;
        const Spectrum probe{{}, outRate};
        // An uncarried tone is placed so that its alias falls on a bin.
        const int bin = carried ? probe.binOf(target) : probe.binOf(outRate - target);
        const double hz = carried ? bin * probe.binHz() : outRate - bin * probe.binHz();
        const Spectrum s = convertTone(inRate, outRate, hz, amplitude);
        if (carried) {
            std::printf("    %9.1f Hz  gain %+8.3f dB, rest %6.1f dB below\n", hz,
                        toneGain(s, bin, amplitude), dB(s.power[bin] / largestOtherThan(s, bin)));
        } else {
            std::printf("    %9.1f Hz  alias at %8.1f Hz, %6.1f dB below the input\n", hz,
                        outRate - hz, -toneGain(s, bin, amplitude));
        }
    }
}

void reportThdPlusNoise(int inRate, int outRate) {
    const double amplitude = std::pow(10.0, -1.0 / 20.0);
    const Spectrum probe{{}, outRate};
    const int bin = probe.binOf(1000.0);
    const double hz = bin * probe.binHz();
    const Spectrum s = convertTone(inRate, outRate, hz, amplitude);
    double rest = 0.0;
    for (int k = probe.binOf(20.0); k <= probe.binOf(20000.0); ++k) {
        if (k != bin) rest += s.power[k];
    }
    std::printf("  THD+N, %.2f Hz at -1 dBFS, 20 Hz - 20 kHz: %.1f dB\n", hz,
                dB(rest / s.power[bin]));
}

}  // namespace

int main() {
    const int pairs[][2] = {{44100, 48000}, {48000, 44100}};
    for (const auto& pair : pairs) {
        std::printf("%d -> %d Hz\n", pair[0], pair[1]);
        reportPassband(pair[0], pair[1]);
        reportHighTones(pair[0], pair[1]);
        reportThdPlusNoise(pair[0], pair[1]);
    }
    return 0;
}
