#ifndef QUORVEX_RATE_CLEAN_CLEANFFT_H
#define QUORVEX_RATE_CLEAN_CLEANFFT_H

// The steep stage's arithmetic: circular convolution of a block of complex
// float samples (left channel real, right imaginary) with a filter spectrum,
// through a power-of-two FFT of our own: radix-4 passes over split arrays,
// one radix-2 pass first for odd powers of two, the two shortest passes
// merged inside each run of 16 points, and no reordering pass.

#include <vector>

namespace quorvex::clean {

class FftConvolver {
public:
    // `size` a power of two, at least 32.
    explicit FftConvolver(int size);

    int size() const { return n; }

    // The spectrum to multiply by, given in natural order; stored in the
    // order the forward transform leaves its output in.
    void setSpectrum(const std::vector<double>& re, const std::vector<double>& im);

    // Replaces re + i im by its circular convolution with the filter whose
    // spectrum was set, the 1 / size of the inverse transform included only
    // if the spectrum carries it. Same bits in every build.
    void convolve(float* re, float* im) const;

    // What the kernels read, set up once.
    struct Tables {
        int n;
        bool halfPass;
        int firstQuarter;      // quarter-span of the first radix-4 pass
        const float* radix4;   // each pass's w1, w2, w3 (re, im), longest pass first
        const float* halfRe;   // the radix-2 pass's twiddles
        const float* halfIm;
        const float* spectrumRe;
        const float* spectrumIm;
    };

private:
    int n;
    std::vector<float> twiddles, halfTwiddles;
    std::vector<float> spectrumRe, spectrumIm;
    Tables tables{};
};

}  // namespace quorvex::clean

#endif
