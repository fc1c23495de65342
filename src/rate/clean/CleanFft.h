#ifndef QUORVEX_RATE_CLEAN_CLEANFFT_H
#define QUORVEX_RATE_CLEAN_CLEANFFT_H

// The steep stage's arithmetic: circular convolution of a block of complex
// float samples (left channel real, right imaginary) with a filter spectrum,
// through a power-of-two FFT of our own.

#include <vector>

namespace quorvex::clean {

class FftConvolver {
public:
    // `size` a power of two, at least 16.
    explicit FftConvolver(int size);

    int size() const { return n; }

    // The spectrum to multiply by, given in natural order; stored in the
    // order the forward transform leaves its output in.
    void setSpectrum(const std::vector<double>& re, const std::vector<double>& im);

    // Replaces re + i im by its circular convolution with the filter whose
    // spectrum was set, the 1 / size of the inverse transform included only
    // if the spectrum carries it. Same bits in every build.
    void convolve(float* re, float* im) const;

private:
    int n;
    // Twiddles of the stage with half-span h at [h, 2h): exp(-2 pi i j / 2h).
    std::vector<float> twiddleRe, twiddleIm;
    std::vector<float> spectrumRe, spectrumIm;
};

}  // namespace quorvex::clean

#endif
