#include "rate/clean/CleanSteep.h"

#include <cmath>

#include "rate/clean/CleanDesign.h"

namespace quorvex::clean {

namespace {

constexpr double kPi = 3.141592653589793;
constexpr int kFftSize = 2048;

// The spectrum of `h` zero-padded to `n`, divided by n for the inverse
// transform. The taps are symmetric about their centre c, so the spectrum
// is a real sum of cosines turned by exp(-2 pi i k c / n).
void paddedSpectrum(const std::vector<double>& h, int n, std::vector<double>& re,
                    std::vector<double>& im) {
    const int centre = static_cast<int>(h.size() / 2);
    std::vector<double> cosine(n), sine(n);
    for (int i = 0; i < n; ++i) {
        cosine[i] = std::cos(2.0 * kPi * i / n);
        sine[i] = std::sin(2.0 * kPi * i / n);
    }
    re.assign(n, 0.0);
    im.assign(n, 0.0);
    for (int k = 0; k < n; ++k) {
        double amplitude = h[centre];
        for (int m = 1; m <= centre; ++m)
            amplitude += 2.0 * h[centre + m] * cosine[(static_cast<int64_t>(k) * m) % n];
        const int turn = static_cast<int>((static_cast<int64_t>(k) * centre) % n);
        re[k] = amplitude * cosine[turn] / n;
        im[k] = -amplitude * sine[turn] / n;
    }
}

}  // namespace

SteepStage::SteepStage(int rate, double passHz, double stopHz, double gain, int grain)
    : fft(kFftSize) {
    const std::vector<double> h =
        steepTaps(0.5 * (passHz + stopHz) / rate, (stopHz - passHz) / rate, gain);
    taps = static_cast<int>(h.size());
    hop = kFftSize - taps + 1;
    lead = hop - grain;
    std::vector<double> re, im;
    paddedSpectrum(h, kFftSize, re, im);
    fft.setSpectrum(re, im);
    blockRe.resize(kFftSize);
    blockIm.resize(kFftSize);
    workRe.resize(kFftSize);
    workIm.resize(kFftSize);
    queueRe.resize(hop);
    queueIm.resize(hop);
    clear();
}

void SteepStage::clear() {
    std::fill(blockRe.begin(), blockRe.end(), 0.0f);
    std::fill(blockIm.begin(), blockIm.end(), 0.0f);
    filled = lead;
    read = hop;
}

void SteepStage::convolveBlock() {
    std::copy(blockRe.begin(), blockRe.end(), workRe.begin());
    std::copy(blockIm.begin(), blockIm.end(), workIm.begin());
    fft.convolve(workRe.data(), workIm.data());
    std::copy(workRe.begin() + taps - 1, workRe.end(), queueRe.begin());
    std::copy(workIm.begin() + taps - 1, workIm.end(), queueIm.begin());
    std::copy(blockRe.end() - (taps - 1), blockRe.end(), blockRe.begin());
    std::copy(blockIm.end() - (taps - 1), blockIm.end(), blockIm.begin());
    filled = 0;
    read = 0;
}

}  // namespace quorvex::clean
