#include <quorvex/fft.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <utility>
#include <vector>

namespace {

// The transform written out plainly, one butterfly at a time in the order of
// the loops, with tables built afresh by the same recurrence.
void referenceFft(int n, double* x, double* y) {
    const bool inverse = n < 0;
    const int size = inverse ? -n : n;
    const int n2 = size / 2;
    const int n4 = size / 4;
    const int n8 = size / 8;
    std::vector<double> sintbl(size + n4);

    const double t = std::sin((1.0 / size) * 3.141592653589793);
    double dc = t * t + t * t;
    double ds = std::sqrt((2 - dc) * dc);
    const double t2 = t * t * 4.0;
    sintbl[n4] = 1.0;
    sintbl[0] = 0.0;
    double c = 1.0;
    double s = 0.0;
    for (int i = 1; i < n8; ++i) {
        c = c - dc;
        dc = dc + t2 * c;
        s = s + ds;
        ds = ds - t2 * s;
        sintbl[i] = s;
        sintbl[n4 - i] = c;
    }
    if (n8 != 0) sintbl[n8] = 0.7071067811865476;
    for (int i = 0; i < n4; ++i) sintbl[n2 - i] = sintbl[i];
    for (int i = 0; i < n2 + n4; ++i) sintbl[i + n2] = -sintbl[i];

    // Bit reversal, swapping each pair as its index comes up.
    for (int i = 0, j = 0;;) {
        if (i < j) {
            std::swap(x[i], x[j]);
            std::swap(y[i], y[j]);
        }
        if (++i == size) break;
        int k = n2;
        while (k <= j) {
            j -= k;
            k /= 2;
        }
        j += k;
    }
    for (int k = 1; k < size; k *= 2) {
        const int k2 = 2 * k;
        const int d = size / k2;
        int h = 0;
        for (int j = 0; j < k; ++j) {
            const double cc = sintbl[h + n4];
            const double ss = inverse ? -sintbl[h] : sintbl[h];
            for (int i = j; i < size; i += k2) {
                const int m = i + k;
                const double dx = ss * y[m] + cc * x[m];
                const double dy = cc * y[m] - ss * x[m];
                x[m] = x[i] - dx;
                x[i] = x[i] + dx;
                y[m] = y[i] - dy;
                y[i] = y[i] + dy;
            }
            h += d;
        }
    }
    if (!inverse) {
        for (int i = 0; i < size; ++i) {
            x[i] = x[i] * (1.0 / size);
            y[i] = y[i] * (1.0 / size);
        }
    }
}

bool sameBits(const std::vector<double>& a, const std::vector<double>& b) {
    return std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0;
}

}  // namespace

TEST(FFTReference, EverySizeAndDirectionMatchesThePlainTransformBitForBit) {
    std::mt19937 rng(11);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    for (int n : {1, 4, 8, 16, 32, 64, 128, 256, 512, 1024, 2048, 4096, 65536, 8, 8}) {
        for (int sign : {1, -1, 1}) {
            std::vector<double> x(n);
            std::vector<double> y(n);
            for (int i = 0; i < n; ++i) {
                x[i] = u(rng);
                // Zeros of both signs test the sign rules of the butterflies.
                y[i] = i % 5 == 0 ? (i % 10 == 0 ? 0.0 : -0.0) : u(rng);
            }
            std::vector<double> rx = x;
            std::vector<double> ry = y;
            ASSERT_EQ(fft(sign * n, x.data(), y.data()), 0);
            referenceFft(sign * n, rx.data(), ry.data());
            EXPECT_TRUE(sameBits(x, rx)) << sign * n;
            EXPECT_TRUE(sameBits(y, ry)) << sign * n;
        }
    }
}
