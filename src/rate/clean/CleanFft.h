#ifndef QUORVEX_RATE_CLEAN_CLEANFFT_H
#define QUORVEX_RATE_CLEAN_CLEANFFT_H

// The steep stage's arithmetic: circular convolution of a block of complex
// float samples (left channel real, right imaginary) with a filter spectrum,
// through a power-of-two FFT of our own: radix-4 passes over split arrays,
// one radix-2 pass for the full size, the two shortest passes merged inside
// each run of 16 points, and no reordering pass. One side of each
// convolution runs at half the size: a block rising to twice its rate has
// a zero after each sample, and one falling to half keeps every second.

#include <vector>

namespace quorvex::clean {

class FftConvolver {
public:
    // `size` an odd power of two, at least 128.
    explicit FftConvolver(int size);

    // The spectrum to multiply by, given in natural order; stored in the
    // order the forward transform leaves its output in.
    void setSpectrum(const std::vector<double>& re, const std::vector<double>& im);

    // The circular convolution of a block with the filter whose spectrum
    // was set, the 1 / size of the inverse transform included only if the
    // spectrum carries it; re and im are overwritten. Rising, they hold the
    // block's even samples (size / 2, its odd ones zero) and out* receives
    // the whole result; falling, they hold the whole block and out* receives
    // the result's even samples. Same bits in every build.
    void convolve(float* re, float* im, float* outRe, float* outIm, bool rising) const;

    // What the kernels read, set up once.
    struct Tables {
        int n;
        int firstQuarter;     // quarter-span of the first radix-4 pass
        const float* radix4;  // each pass's w1, w2, w3 (re, im), longest pass first
        const float* halfRe;  // the radix-2 pass's twiddles
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
