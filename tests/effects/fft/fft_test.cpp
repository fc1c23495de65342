#include <quorvex/fft.h>

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace {

constexpr double kPi = 3.141592653589793;

struct Signal {
    std::vector<double> x;
    std::vector<double> y;
};

Signal impulse(int n) {
    Signal s{std::vector<double>(n, 0.0), std::vector<double>(n, 0.0)};
    s.x[0] = 1.0;
    return s;
}

// Plain DFT of the same sign convention, forward scaled by 1/n.
Signal dft(const Signal& in, bool inverse) {
    const int n = static_cast<int>(in.x.size());
    Signal out{std::vector<double>(n), std::vector<double>(n)};
    const double sign = inverse ? 1.0 : -1.0;
    for (int k = 0; k < n; ++k) {
        double re = 0.0;
        double im = 0.0;
        for (int j = 0; j < n; ++j) {
            const double a = sign * 2.0 * kPi * (static_cast<long>(j) * k % n) / n;
            re += in.x[j] * std::cos(a) - in.y[j] * std::sin(a);
            im += in.x[j] * std::sin(a) + in.y[j] * std::cos(a);
        }
        out.x[k] = inverse ? re : re / n;
        out.y[k] = inverse ? im : im / n;
    }
    return out;
}

Signal randomSignal(int n, unsigned seed) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    Signal s{std::vector<double>(n), std::vector<double>(n)};
    for (int i = 0; i < n; ++i) {
        s.x[i] = u(rng);
        s.y[i] = u(rng);
    }
    return s;
}

double maxDifference(const Signal& a, const Signal& b) {
    double worst = 0.0;
    for (size_t i = 0; i < a.x.size(); ++i) {
        worst = std::fmax(worst, std::fabs(a.x[i] - b.x[i]));
        worst = std::fmax(worst, std::fabs(a.y[i] - b.y[i]));
    }
    return worst;
}

}  // namespace

TEST(FFT, SizeOneIsTheIdentityBothWays) {
    double x = 0.75;
    double y = -2.5;
    EXPECT_EQ(fft(1, &x, &y), 0);
    EXPECT_EQ(fft(-1, &x, &y), 0);
    EXPECT_EQ(x, 0.75);
    EXPECT_EQ(y, -2.5);
}

TEST(FFT, SizeFourImpulses) {
    Signal s = impulse(4);
    ASSERT_EQ(fft(4, s.x.data(), s.y.data()), 0);
    for (int k = 0; k < 4; ++k) {
        EXPECT_EQ(s.x[k], 0.25) << k;
        EXPECT_EQ(s.y[k], 0.0) << k;
    }
    s = impulse(4);
    ASSERT_EQ(fft(-4, s.x.data(), s.y.data()), 0);
    for (int k = 0; k < 4; ++k) {
        EXPECT_EQ(s.x[k], 1.0) << k;
        EXPECT_EQ(s.y[k], 0.0) << k;
    }
}

TEST(FFT, SizeEightCosineLandsOnBinsOneAndSeven) {
    Signal s{std::vector<double>(8), std::vector<double>(8, 0.0)};
    for (int j = 0; j < 8; ++j) s.x[j] = std::cos(2.0 * kPi * j / 8);
    ASSERT_EQ(fft(8, s.x.data(), s.y.data()), 0);
    for (int k = 0; k < 8; ++k) {
        const double expected = (k == 1 || k == 7) ? 0.5 : 0.0;
        EXPECT_NEAR(s.x[k], expected, 1e-15) << k;
        EXPECT_NEAR(s.y[k], 0.0, 1e-15) << k;
    }
}

TEST(FFT, MatchesAPlainDftAtEverySizeBothWays) {
    for (int n = 4; n <= 1024; n *= 2) {
        const Signal in = randomSignal(n, static_cast<unsigned>(n));
        for (bool inverse : {false, true}) {
            Signal out = in;
            ASSERT_EQ(fft(inverse ? -n : n, out.x.data(), out.y.data()), 0);
            EXPECT_LT(maxDifference(out, dft(in, inverse)), inverse ? 1e-11 : 1e-14) << n;
        }
    }
}

TEST(FFT, RoundTripReusesTheTablesAndSizeZeroReleasesThem) {
    const Signal in = randomSignal(8, 1);
    Signal s = in;
    ASSERT_EQ(fft(8, s.x.data(), s.y.data()), 0);
    ASSERT_EQ(fft(-8, s.x.data(), s.y.data()), 0);
    EXPECT_LT(maxDifference(s, in), 1e-15);

    EXPECT_EQ(fft(0, nullptr, nullptr), 0);
    Signal again = in;
    ASSERT_EQ(fft(8, again.x.data(), again.y.data()), 0);
    ASSERT_EQ(fft(-8, again.x.data(), again.y.data()), 0);
    EXPECT_EQ(again.x, s.x);
    EXPECT_EQ(again.y, s.y);
}

TEST(FFT, UnsupportedSizesTouchNothing) {
    Signal s = impulse(16);
    ASSERT_EQ(fft(16, s.x.data(), s.y.data()), 0);
    const Signal before = s;
    for (int n : {2, 3, 6, 12, 1000, -2, -3, -12, -2147483647 - 1}) {
        EXPECT_EQ(fft(n, s.x.data(), s.y.data()), -1) << n;
        EXPECT_EQ(s.x, before.x);
        EXPECT_EQ(s.y, before.y);
    }
    // The tables of size 16 are still there and still right.
    ASSERT_EQ(fft(-16, s.x.data(), s.y.data()), 0);
    EXPECT_LT(maxDifference(s, impulse(16)), 1e-15);
}

TEST(FFT, TablesTooLargeToAllocateReportAndAreForgotten) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(fft(1 << 30, nullptr, nullptr), 1);
    const std::string message = testing::internal::GetCapturedStderr();
    EXPECT_EQ(message, "\x8B\x4C\x89\xAF\x97\xCC\x88\xE6\x95\x73\x91\xAB\n");
    Signal s = impulse(4);
    ASSERT_EQ(fft(4, s.x.data(), s.y.data()), 0);
    EXPECT_EQ(s.x[3], 0.25);
}
