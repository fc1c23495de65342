#include "rate/clean/CleanFft.h"

#include <cmath>

#include "framework/KernelChoice.h"

namespace quorvex::clean {

namespace {

constexpr double kPi = 3.141592653589793;

int bitReversed(int i, int n) {
    int r = 0;
    for (int bit = 1; bit < n; bit <<= 1) r = (r << 1) | ((i & bit) ? 1 : 0);
    return r;
}

// One decimation-in-frequency pass: natural order in, each half-span's
// difference turned by its twiddle.
QUORVEX_KERNEL_INLINE void forwardPass(float* re, float* im, int n, int h, const float* wr,
                                       const float* wi) {
    for (int b = 0; b < n; b += 2 * h) {
        float* __restrict ar = re + b;
        float* __restrict ai = im + b;
        float* __restrict cr = re + b + h;
        float* __restrict ci = im + b + h;
        for (int j = 0; j < h; ++j) {
            const float dr = ar[j] - cr[j], di = ai[j] - ci[j];
            ar[j] = ar[j] + cr[j];
            ai[j] = ai[j] + ci[j];
            cr[j] = dr * wr[j] - di * wi[j];
            ci[j] = dr * wi[j] + di * wr[j];
        }
    }
}

// One decimation-in-time pass of the inverse: the upper half turned back by
// the conjugate twiddle, then sum and difference.
QUORVEX_KERNEL_INLINE void inversePass(float* re, float* im, int n, int h, const float* wr,
                                       const float* wi) {
    for (int b = 0; b < n; b += 2 * h) {
        float* __restrict ar = re + b;
        float* __restrict ai = im + b;
        float* __restrict cr = re + b + h;
        float* __restrict ci = im + b + h;
        for (int j = 0; j < h; ++j) {
            const float tr = cr[j] * wr[j] + ci[j] * wi[j];
            const float ti = ci[j] * wr[j] - cr[j] * wi[j];
            cr[j] = ar[j] - tr;
            ci[j] = ai[j] - ti;
            ar[j] = ar[j] + tr;
            ai[j] = ai[j] + ti;
        }
    }
}

// The forward transform leaves bit-reversed order, which the spectrum is
// stored in and the inverse takes, so no pass reorders the samples.
QUORVEX_KERNEL_INLINE void convolveBlock(float* re, float* im, int n, const float* twRe,
                                         const float* twIm, const float* hRe, const float* hIm) {
    for (int h = n / 2; h >= 1; h /= 2) forwardPass(re, im, n, h, twRe + h, twIm + h);
    for (int k = 0; k < n; ++k) {
        const float xr = re[k], xi = im[k];
        re[k] = xr * hRe[k] - xi * hIm[k];
        im[k] = xr * hIm[k] + xi * hRe[k];
    }
    for (int h = 1; h < n; h *= 2) inversePass(re, im, n, h, twRe + h, twIm + h);
}

void convolvePlain(float* re, float* im, int n, const float* twRe, const float* twIm,
                   const float* hRe, const float* hIm) {
    convolveBlock(re, im, n, twRe, twIm, hRe, hIm);
}

#ifdef QUORVEX_WIDE_KERNELS
// Each lane does the same operations in the same order as the plain build.
const bool kWideFft = framework::wideKernelsRun();

QUORVEX_WIDE_TARGET void convolveWide(float* re, float* im, int n, const float* twRe,
                                      const float* twIm, const float* hRe, const float* hIm) {
    convolveBlock(re, im, n, twRe, twIm, hRe, hIm);
}
#endif

}  // namespace

FftConvolver::FftConvolver(int size)
    : n(size), twiddleRe(size), twiddleIm(size), spectrumRe(size), spectrumIm(size) {
    for (int h = 1; h < n; h *= 2) {
        for (int j = 0; j < h; ++j) {
            const double angle = -kPi * j / h;
            twiddleRe[h + j] = static_cast<float>(std::cos(angle));
            twiddleIm[h + j] = static_cast<float>(std::sin(angle));
        }
    }
}

void FftConvolver::setSpectrum(const std::vector<double>& re, const std::vector<double>& im) {
    for (int i = 0; i < n; ++i) {
        const int k = bitReversed(i, n);
        spectrumRe[i] = static_cast<float>(re[k]);
        spectrumIm[i] = static_cast<float>(im[k]);
    }
}

void FftConvolver::convolve(float* re, float* im) const {
#ifdef QUORVEX_WIDE_KERNELS
    if (kWideFft)
        return convolveWide(re, im, n, twiddleRe.data(), twiddleIm.data(), spectrumRe.data(),
                            spectrumIm.data());
#endif
    convolvePlain(re, im, n, twiddleRe.data(), twiddleIm.data(), spectrumRe.data(),
                  spectrumIm.data());
}

}  // namespace quorvex::clean
