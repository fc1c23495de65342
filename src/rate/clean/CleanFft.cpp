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

// Eight lanes of one kind of value; the plain build splits them in halves,
// the wide one takes them whole, each lane's operations the same.
typedef float Lanes __attribute__((vector_size(8 * sizeof(float))));

struct Complex {
    Lanes re, im;
};

// Lanes pass by reference only: by value they would take a different
// calling convention in the wide build.
// Lanes at any float's address. Through this type rather than a copy, so
// the compiler moves whole registers instead of halves through memory.
typedef float LanesAt __attribute__((vector_size(8 * sizeof(float)), aligned(alignof(float))));

QUORVEX_KERNEL_INLINE void load(Lanes& v, const float* p) {
    v = *reinterpret_cast<const LanesAt*>(p);
}
QUORVEX_KERNEL_INLINE void store(float* p, const Lanes& v) { *reinterpret_cast<LanesAt*>(p) = v; }

QUORVEX_KERNEL_INLINE void turn(Complex& out, const Complex& x, const Complex& w) {
    out.re = x.re * w.re - x.im * w.im;
    out.im = x.re * w.im + x.im * w.re;
}

QUORVEX_KERNEL_INLINE void turnBack(Complex& out, const Complex& x, const Complex& w) {
    out.re = x.re * w.re + x.im * w.im;
    out.im = x.im * w.re - x.re * w.im;
}

// The three twiddles of a radix-4 butterfly.
struct Twiddles {
    Complex w1, w2, w3;
};

// One radix-4 decimation-in-frequency butterfly on four points a
// quarter-span apart: the values two radix-2 passes would leave, in the same
// places, so the output order is bit-reversed whatever mix of passes ran.
// Without twiddles for the shortest pass, where they are all 1.
template <bool Turned>
QUORVEX_KERNEL_INLINE void forwardButterfly(Complex (&x)[4], const Twiddles& w) {
    const Complex s02{x[0].re + x[2].re, x[0].im + x[2].im};
    const Complex d02{x[0].re - x[2].re, x[0].im - x[2].im};
    const Complex s13{x[1].re + x[3].re, x[1].im + x[3].im};
    const Complex d13{x[1].re - x[3].re, x[1].im - x[3].im};
    const Complex a{s02.re - s13.re, s02.im - s13.im};
    const Complex b{d02.re + d13.im, d02.im - d13.re};
    const Complex c{d02.re - d13.im, d02.im + d13.re};
    x[0] = {s02.re + s13.re, s02.im + s13.im};
    if (Turned) {
        turn(x[1], a, w.w2);
        turn(x[2], b, w.w1);
        turn(x[3], c, w.w3);
    } else {
        x[1] = a;
        x[2] = b;
        x[3] = c;
    }
}

// Its inverse up to a factor 4: conjugate twiddles, decimation in time.
template <bool Turned>
QUORVEX_KERNEL_INLINE void inverseButterfly(Complex (&y)[4], const Twiddles& w) {
    Complex z1 = y[1], z2 = y[2], z3 = y[3];
    if (Turned) {
        turnBack(z1, y[1], w.w2);
        turnBack(z2, y[2], w.w1);
        turnBack(z3, y[3], w.w3);
    }
    const Complex a{y[0].re + z1.re, y[0].im + z1.im};
    const Complex b{y[0].re - z1.re, y[0].im - z1.im};
    const Complex s{z2.re + z3.re, z2.im + z3.im};
    const Complex d{z2.re - z3.re, z2.im - z3.im};
    y[0] = {a.re + s.re, a.im + s.im};
    y[2] = {a.re - s.re, a.im - s.im};
    y[1] = {b.re - d.im, b.im + d.re};
    y[3] = {b.re + d.im, b.im - d.re};
}

template <bool Forward, bool Turned>
QUORVEX_KERNEL_INLINE void butterfly(Complex (&x)[4], const Twiddles& w) {
    if (Forward)
        forwardButterfly<Turned>(x, w);
    else
        inverseButterfly<Turned>(x, w);
}

// A radix-4 pass of quarter-span q (a multiple of 8) over the whole block;
// the twiddles for offset j are tw[j + k q] for k = 0..5 (w1, w2, w3, real
// then imaginary).
template <bool Forward>
QUORVEX_KERNEL_INLINE void radix4Pass(float* re, float* im, int n, int q, const float* tw) {
    for (int b = 0; b < n; b += 4 * q) {
        for (int j = 0; j < q; j += 8) {
            Twiddles w;
            load(w.w1.re, tw + j);
            load(w.w1.im, tw + q + j);
            load(w.w2.re, tw + 2 * q + j);
            load(w.w2.im, tw + 3 * q + j);
            load(w.w3.re, tw + 4 * q + j);
            load(w.w3.im, tw + 5 * q + j);
            Complex x[4];
            for (int k = 0; k < 4; ++k) {
                load(x[k].re, re + b + j + k * q);
                load(x[k].im, im + b + j + k * q);
            }
            butterfly<Forward, true>(x, w);
            for (int k = 0; k < 4; ++k) {
                store(re + b + j + k * q, x[k].re);
                store(im + b + j + k * q, x[k].im);
            }
        }
    }
}

// Element k of each group of four among eight consecutive groups.
QUORVEX_KERNEL_INLINE void transposeGroups(Lanes (&v)[4]) {
    const Lanes a = v[0], b = v[1], c = v[2], d = v[3];
    for (int k = 0; k < 4; ++k) {
        v[k] = Lanes{a[k], b[k], c[k], d[k], a[4 + k], b[4 + k], c[4 + k], d[4 + k]};
    }
}

// Four values twice over, for two runs side by side.
QUORVEX_KERNEL_INLINE void spread(Lanes& v, const float* four) {
    for (int j = 0; j < 8; ++j) v[j] = four[j % 4];
}

// The two shortest passes, quarter-spans 4 and 1, over two runs of 16
// points at a time held in registers: row m of a run is its points
// 4m..4m+3, the two runs side by side in the lanes. The span-16 pass works
// across rows; the span-4 pass across the points of a row, which a
// transposition within each run brings into separate rows.
template <bool Forward>
QUORVEX_KERNEL_INLINE void smallPasses(float* re, float* im, int n, const float* tw4) {
    Twiddles w;
    spread(w.w1.re, tw4);
    spread(w.w1.im, tw4 + 4);
    spread(w.w2.re, tw4 + 8);
    spread(w.w2.im, tw4 + 12);
    spread(w.w3.re, tw4 + 16);
    spread(w.w3.im, tw4 + 20);
    const Twiddles none{};
    for (int b = 0; b < n; b += 32) {
        Complex x[4];
        for (int m = 0; m < 4; ++m) {
            for (int h = 0; h < 2; ++h) {
                for (int j = 0; j < 4; ++j) {
                    x[m].re[4 * h + j] = re[b + 16 * h + 4 * m + j];
                    x[m].im[4 * h + j] = im[b + 16 * h + 4 * m + j];
                }
            }
        }
        if (Forward) butterfly<true, true>(x, w);
        Lanes rows[4] = {x[0].re, x[1].re, x[2].re, x[3].re};
        Lanes cols[4] = {x[0].im, x[1].im, x[2].im, x[3].im};
        transposeGroups(rows);
        transposeGroups(cols);
        for (int m = 0; m < 4; ++m) x[m] = {rows[m], cols[m]};
        butterfly<Forward, false>(x, none);
        for (int m = 0; m < 4; ++m) {
            rows[m] = x[m].re;
            cols[m] = x[m].im;
        }
        transposeGroups(rows);
        transposeGroups(cols);
        for (int m = 0; m < 4; ++m) x[m] = {rows[m], cols[m]};
        if (!Forward) butterfly<false, true>(x, w);
        for (int m = 0; m < 4; ++m) {
            for (int h = 0; h < 2; ++h) {
                for (int j = 0; j < 4; ++j) {
                    re[b + 16 * h + 4 * m + j] = x[m].re[4 * h + j];
                    im[b + 16 * h + 4 * m + j] = x[m].im[4 * h + j];
                }
            }
        }
    }
}

// A radix-2 pass of half-span h, for sizes that are an odd power of two.
template <bool Forward>
QUORVEX_KERNEL_INLINE void radix2Pass(float* re, float* im, int h, const float* wr,
                                      const float* wi) {
    for (int j = 0; j < h; j += 8) {
        Complex a, c, w;
        load(a.re, re + j);
        load(a.im, im + j);
        load(c.re, re + h + j);
        load(c.im, im + h + j);
        load(w.re, wr + j);
        load(w.im, wi + j);
        if (Forward) {
            const Complex d{a.re - c.re, a.im - c.im};
            a = {a.re + c.re, a.im + c.im};
            turn(c, d, w);
        } else {
            Complex t;
            turnBack(t, c, w);
            c = {a.re - t.re, a.im - t.im};
            a = {a.re + t.re, a.im + t.im};
        }
        store(re + j, a.re);
        store(im + j, a.im);
        store(re + h + j, c.re);
        store(im + h + j, c.im);
    }
}

// Spectra in bit-reversed order hold X[k] and X[k + n/2] side by side, at
// 2i and 2i + 1, where i holds X[k] in the order of half the size.

// Rising: a block whose odd samples are zero has the spectrum of its even
// samples at half the size, twice over; each value meets both filter values.
QUORVEX_KERNEL_INLINE void spreadMultiply(const float* re, const float* im, int half,
                                          const float* hRe, const float* hIm, float* outRe,
                                          float* outIm) {
    for (int i = 0; i < half; i += 8) {
        Complex x[2] = {}, h, y;
        for (int k = 0; k < 2; ++k) {
            for (int j = 0; j < 8; ++j) {
                x[k].re[j] = re[i + 4 * k + j / 2];
                x[k].im[j] = im[i + 4 * k + j / 2];
            }
        }
        for (int k = 0; k < 2; ++k) {
            load(h.re, hRe + 2 * i + 8 * k);
            load(h.im, hIm + 2 * i + 8 * k);
            turn(y, x[k], h);
            store(outRe + 2 * i + 8 * k, y.re);
            store(outIm + 2 * i + 8 * k, y.im);
        }
    }
}

// The sums of adjacent lanes, a's pairs then b's.
QUORVEX_KERNEL_INLINE void pairSums(Lanes& sum, const Lanes& a, const Lanes& b) {
    const Lanes evens = {a[0], a[2], a[4], a[6], b[0], b[2], b[4], b[6]};
    const Lanes odds = {a[1], a[3], a[5], a[7], b[1], b[3], b[5], b[7]};
    sum = evens + odds;
}

// Falling: the even samples of the filtered block are the inverse at half
// the size of the spectrum folded onto its first half.
QUORVEX_KERNEL_INLINE void foldMultiply(const float* re, const float* im, int half,
                                        const float* hRe, const float* hIm, float* outRe,
                                        float* outIm) {
    for (int i = 0; i < half; i += 8) {
        Complex y[2];
        for (int k = 0; k < 2; ++k) {
            Complex x, h;
            load(x.re, re + 2 * i + 8 * k);
            load(x.im, im + 2 * i + 8 * k);
            load(h.re, hRe + 2 * i + 8 * k);
            load(h.im, hIm + 2 * i + 8 * k);
            turn(y[k], x, h);
        }
        Lanes sum;
        pairSums(sum, y[0].re, y[1].re);
        store(outRe + i, sum);
        pairSums(sum, y[0].im, y[1].im);
        store(outIm + i, sum);
    }
}

// The radix-4 passes over runs of `length`, the first of quarter-span
// t.firstQuarter.
template <bool Forward>
QUORVEX_KERNEL_INLINE void quarterPasses(float* re, float* im, int length,
                                         const FftConvolver::Tables& t) {
    const float* tw = t.radix4;
    for (int q = t.firstQuarter; q >= 16; q /= 4) tw += 6 * q;
    if (Forward) {
        const float* w = t.radix4;
        for (int q = t.firstQuarter; q >= 16; q /= 4) {
            radix4Pass<true>(re, im, length, q, w);
            w += 6 * q;
        }
        smallPasses<true>(re, im, length, tw);
    } else {
        smallPasses<false>(re, im, length, tw);
        for (int q = 16; q <= t.firstQuarter; q *= 4) {
            tw -= 6 * q;
            radix4Pass<false>(re, im, length, q, tw);
        }
    }
}

QUORVEX_KERNEL_INLINE void convolveBlock(float* re, float* im, float* outRe, float* outIm,
                                         bool rising, const FftConvolver::Tables& t) {
    const int half = t.n / 2;
    if (rising) {
        quarterPasses<true>(re, im, half, t);
        spreadMultiply(re, im, half, t.spectrumRe, t.spectrumIm, outRe, outIm);
        quarterPasses<false>(outRe, outIm, t.n, t);
        radix2Pass<false>(outRe, outIm, half, t.halfRe, t.halfIm);
    } else {
        radix2Pass<true>(re, im, half, t.halfRe, t.halfIm);
        quarterPasses<true>(re, im, t.n, t);
        foldMultiply(re, im, half, t.spectrumRe, t.spectrumIm, outRe, outIm);
        quarterPasses<false>(outRe, outIm, half, t);
    }
}

void convolvePlain(float* re, float* im, float* outRe, float* outIm, bool rising,
                   const FftConvolver::Tables& t) {
    convolveBlock(re, im, outRe, outIm, rising, t);
}

#ifdef QUORVEX_WIDE_KERNELS
// Each lane does the same operations in the same order as the plain build,
// with no product contracted into a sum. Built for the processors the
// fused kernels run on, for their wider integer shuffles in the
// transpositions, and chosen by the same test.
const bool kWideFft = framework::fmaKernelsRun();

QUORVEX_FMA_TARGET void convolveWide(float* re, float* im, float* outRe, float* outIm, bool rising,
                                     const FftConvolver::Tables& t) {
    convolveBlock(re, im, outRe, outIm, rising, t);
}
#endif

}  // namespace

FftConvolver::FftConvolver(int size) : n(size), spectrumRe(size), spectrumIm(size) {
    // Both n and n / 2 run the same radix-4 passes, n after one radix-2 pass.
    const int firstQuarter = n / 8;
    // Twiddles of a radix-4 pass with quarter-span q: exp(-2 pi i k j / 4q)
    // for k = 1, 2, 3, down to the span-16 pass the small passes hold.
    for (int q = firstQuarter; q >= 4; q /= 4) {
        for (int k = 1; k <= 3; ++k) {
            for (int j = 0; j < q; ++j)
                twiddles.push_back(static_cast<float>(std::cos(-kPi * k * j / (2 * q))));
            for (int j = 0; j < q; ++j)
                twiddles.push_back(static_cast<float>(std::sin(-kPi * k * j / (2 * q))));
        }
    }
    for (int j = 0; j < n / 2; ++j)
        halfTwiddles.push_back(static_cast<float>(std::cos(-2.0 * kPi * j / n)));
    for (int j = 0; j < n / 2; ++j)
        halfTwiddles.push_back(static_cast<float>(std::sin(-2.0 * kPi * j / n)));
    tables = {n,
              firstQuarter,
              twiddles.data(),
              halfTwiddles.data(),
              halfTwiddles.data() + n / 2,
              spectrumRe.data(),
              spectrumIm.data()};
}

void FftConvolver::setSpectrum(const std::vector<double>& re, const std::vector<double>& im) {
    for (int i = 0; i < n; ++i) {
        const int k = bitReversed(i, n);
        spectrumRe[i] = static_cast<float>(re[k]);
        spectrumIm[i] = static_cast<float>(im[k]);
    }
}

void FftConvolver::convolve(float* re, float* im, float* outRe, float* outIm, bool rising) const {
#ifdef QUORVEX_WIDE_KERNELS
    if (kWideFft) return convolveWide(re, im, outRe, outIm, rising, tables);
#endif
    convolvePlain(re, im, outRe, outIm, rising, tables);
}

}  // namespace quorvex::clean
