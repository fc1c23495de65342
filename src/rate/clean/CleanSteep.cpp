#include "rate/clean/CleanSteep.h"

#include <cmath>

#include "rate/clean/CleanDesign.h"

namespace quorvex::clean {

namespace {

constexpr double kPi = 3.141592653589793;
// An odd power of two: larger blocks leave the cache for less gain.
constexpr int kFftSize = 2048;

// The spectrum of `h` zero-padded to `n` and placed `advance` samples
// early (circularly), divided by n for the inverse transform. The taps are
// symmetric about their centre c, so the spectrum is a real sum of cosines
// turned by exp(-2 pi i k (c - advance) / n).
void paddedSpectrum(const std::vector<double>& h, int n, int advance, std::vector<double>& re,
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
        const int turn = static_cast<int>((static_cast<int64_t>(k) * (centre - advance)) % n);
        re[k] = amplitude * cosine[turn] / n;
        im[k] = -amplitude * sine[turn] / n;
    }
}

}  // namespace

SteepStage::SteepStage(int rate, double passHz, double stopHz, bool rise)
    : fft(kFftSize), rising(rise) {
    // Rising, every second input is a stuffed zero, which the gain makes up.
    const std::vector<double> h =
        steepTaps(0.5 * (passHz + stopHz) / rate, (stopHz - passHz) / rate, rising ? 2.0 : 1.0);
    taps = static_cast<int>(h.size());
    hop = kFftSize - taps + 1;
    lead = hop - (rising ? 2 : 1);
    std::vector<double> re, im;
    paddedSpectrum(h, kFftSize, rising ? 0 : 1, re, im);
    fft.setSpectrum(re, im);
    blockRe.resize(kFftSize);
    blockIm.resize(kFftSize);
    workRe.resize(kFftSize);
    workIm.resize(kFftSize);
    resultRe.resize(kFftSize);
    resultIm.resize(kFftSize);
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

// The stuffed zeros are left out of a rising block and the dropped samples
// never computed for a falling one. Falling, the kept outputs are the
// queue's odd entries, the block's odd samples (the hop and taps - 1 are
// even); the filter placed a sample early brings them to the even samples,
// which the transform at half the size gives.
void SteepStage::convolveBlock() {
    if (rising) {
        for (int m = 0; m < kFftSize / 2; ++m) {
            workRe[m] = blockRe[2 * m];
            workIm[m] = blockIm[2 * m];
        }
    } else {
        std::copy(blockRe.begin(), blockRe.end(), workRe.begin());
        std::copy(blockIm.begin(), blockIm.end(), workIm.begin());
    }
    fft.convolve(workRe.data(), workIm.data(), resultRe.data(), resultIm.data(), rising);
    if (rising) {
        std::copy(resultRe.begin() + taps - 1, resultRe.end(), queueRe.begin());
        std::copy(resultIm.begin() + taps - 1, resultIm.end(), queueIm.begin());
    } else {
        for (int i = 1; i < hop; i += 2) {
            queueRe[i] = resultRe[(taps - 2 + i) / 2];
            queueIm[i] = resultIm[(taps - 2 + i) / 2];
        }
    }
    std::copy(blockRe.end() - (taps - 1), blockRe.end(), blockRe.begin());
    std::copy(blockIm.end() - (taps - 1), blockIm.end(), blockIm.begin());
    filled = 0;
    read = 0;
}

}  // namespace quorvex::clean
