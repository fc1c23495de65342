#include <quorvex/fft.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <utility>
#include <vector>

using Doubles = std::vector<double>;

namespace {

// The transform written out plainly, with the sine table from its rotation
// recurrence and the butterflies in the order of the loops.
void referenceFft(int n, double* x, double* y) {
    const int size = n < 0 ? -n : n, n2 = size / 2, n4 = size / 4, n8 = size / 8;
    Doubles sintbl(size + n4);
    const double t = std::sin((1.0 / size) * 3.141592653589793), t2 = t * t * 4.0;
    double dc = t * t + t * t, ds = std::sqrt((2 - dc) * dc), c = 1.0, s = 0.0;
    sintbl[n4] = 1.0;
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

    for (int i = 0; i < size; ++i) {
        int j = 0;
        for (int b = 1, r = i; b < size; b *= 2, r /= 2) j = 2 * j + r % 2;
        if (i < j) std::swap(x[i], x[j]), std::swap(y[i], y[j]);
    }
    for (int k = 1; k < size; k *= 2) {
        for (int j = 0; j < k; ++j) {
            const double cc = sintbl[j * (size / k / 2) + n4];
            const double ss = (n < 0 ? -1 : 1) * sintbl[j * (size / k / 2)];
            for (int i = j; i < size; i += 2 * k) {
                const int m = i + k;
                const double dx = ss * y[m] + cc * x[m], dy = cc * y[m] - ss * x[m];
                x[m] = x[i] - dx, x[i] = x[i] + dx;
                y[m] = y[i] - dy, y[i] = y[i] + dy;
            }
        }
    }
    for (int i = 0; i < size && n > 0; ++i) x[i] = x[i] * (1.0 / size), y[i] = y[i] * (1.0 / size);
}

}  // namespace

TEST(FFT, SizesAndDirectionsMatchThePlainTransformBitForBit) {
    std::mt19937 rng(11);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    for (int n : {1, 4, 8, 16, 1024, 65536, 8, 8}) {
        for (int sign : {1, -1}) {
            Doubles x(n), y(n);
            for (int i = 0; i < n; ++i) {
                x[i] = u(rng);
                y[i] = i % 5 == 0 ? (i % 10 == 0 ? 0.0 : -0.0) : u(rng);  // signed zeros
            }
            Doubles rx = x, ry = y;
            ASSERT_EQ(fft(sign * n, x.data(), y.data()), 0);
            referenceFft(sign * n, rx.data(), ry.data());
            EXPECT_TRUE(std::memcmp(x.data(), rx.data(), n * sizeof(double)) == 0 &&
                        std::memcmp(y.data(), ry.data(), n * sizeof(double)) == 0)
                << sign * n;
        }
    }
}

TEST(FFT, SizesOneFourAndEight) {
    double x = 0.75, y = -2.5;
    EXPECT_TRUE(fft(1, &x, &y) == 0 && fft(-1, &x, &y) == 0 && x == 0.75 && y == -2.5);
    for (int n : {4, -4}) {
        Doubles re{1.0, 0.0, 0.0, 0.0}, im(4, 0.0);
        ASSERT_EQ(fft(n, re.data(), im.data()), 0);
        EXPECT_EQ(re, Doubles(4, n > 0 ? 0.25 : 1.0)) << n;
        EXPECT_EQ(im, Doubles(4, 0.0)) << n;
    }
    Doubles re(8), im(8, 0.0);
    for (int j = 0; j < 8; ++j) re[j] = std::cos(2.0 * 3.141592653589793 * j / 8);
    ASSERT_EQ(fft(8, re.data(), im.data()), 0);
    for (int k = 0; k < 8; ++k) {
        EXPECT_NEAR(re[k], (k == 1 || k == 7) ? 0.5 : 0.0, 1e-15) << k;
        EXPECT_NEAR(im[k], 0.0, 1e-15) << k;
    }
}

// Refused sizes keep the tables of the last good one. A size whose tables
// cannot be allocated is forgotten: asking for it again tries again instead
// of using missing tables. Size 0 releases the tables.
TEST(FFT, UnsupportedSizesAndFailedAllocations) {
    Doubles re(16, 0.0), im(16, 0.0);
    re[0] = 1.0;
    ASSERT_EQ(fft(16, re.data(), im.data()), 0);
    const Doubles reBefore = re, imBefore = im;
    for (int n : {2, 3, 6, 12, 1000, -2, -3, -12, -2147483647 - 1}) {
        EXPECT_EQ(fft(n, re.data(), im.data()), -1) << n;
        EXPECT_TRUE(re == reBefore && im == imBefore) << n;
    }
    ASSERT_EQ(fft(-16, re.data(), im.data()), 0);
    for (int i = 0; i < 16; ++i) EXPECT_NEAR(re[i], i == 0 ? 1.0 : 0.0, 1e-15) << i;

    for (int attempt = 0; attempt < 2; ++attempt) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(fft(1 << 30, nullptr, nullptr), 1);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "\x8B\x4C\x89\xAF\x97\xCC\x88\xE6\x95\x73\x91\xAB\n");
    }
    re = {1.0, 0.0, 0.0, 0.0};
    ASSERT_EQ(fft(4, re.data(), im.data()), 0);
    EXPECT_EQ(re[3], 0.25);
    EXPECT_EQ(fft(0, nullptr, nullptr), 0);
}
