#include <quorvex/fft.h>

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

using Doubles = std::vector<double>;

TEST(FFT, SizesOneFourAndEight) {
    double x = 0.75;
    double y = -2.5;
    EXPECT_EQ(fft(1, &x, &y), 0);
    EXPECT_EQ(fft(-1, &x, &y), 0);
    EXPECT_EQ(x, 0.75);
    EXPECT_EQ(y, -2.5);

    for (int n : {4, -4}) {
        Doubles re{1.0, 0.0, 0.0, 0.0};
        Doubles im(4, 0.0);
        ASSERT_EQ(fft(n, re.data(), im.data()), 0);
        EXPECT_EQ(re, Doubles(4, n > 0 ? 0.25 : 1.0)) << n;
        EXPECT_EQ(im, Doubles(4, 0.0)) << n;
    }

    Doubles re(8);
    Doubles im(8, 0.0);
    for (int j = 0; j < 8; ++j) re[j] = std::cos(2.0 * 3.141592653589793 * j / 8);
    ASSERT_EQ(fft(8, re.data(), im.data()), 0);
    for (int k = 0; k < 8; ++k) {
        EXPECT_NEAR(re[k], (k == 1 || k == 7) ? 0.5 : 0.0, 1e-15) << k;
        EXPECT_NEAR(im[k], 0.0, 1e-15) << k;
    }
}

TEST(FFT, RoundTripReusesTheTablesAndSizeZeroReleasesThem) {
    const Doubles re0{0.5, -0.25, 0.75, 0.1, 0.0, 1.0, -1.0, 0.3};
    const Doubles im0{-0.6, 0.2, 0.0, 0.9, -0.7, 0.4, 0.05, -1.0};
    Doubles re = re0;
    Doubles im = im0;
    ASSERT_EQ(fft(8, re.data(), im.data()), 0);
    ASSERT_EQ(fft(-8, re.data(), im.data()), 0);
    for (int i = 0; i < 8; ++i) {
        EXPECT_NEAR(re[i], re0[i], 1e-15) << i;
        EXPECT_NEAR(im[i], im0[i], 1e-15) << i;
    }

    EXPECT_EQ(fft(0, nullptr, nullptr), 0);
    Doubles re2 = re0;
    Doubles im2 = im0;
    ASSERT_EQ(fft(8, re2.data(), im2.data()), 0);
    ASSERT_EQ(fft(-8, re2.data(), im2.data()), 0);
    EXPECT_EQ(re2, re);
    EXPECT_EQ(im2, im);
}

TEST(FFT, UnsupportedSizesTouchNothing) {
    Doubles re(16, 0.0);
    Doubles im(16, 0.0);
    re[0] = 1.0;
    ASSERT_EQ(fft(16, re.data(), im.data()), 0);
    const Doubles reBefore = re;
    const Doubles imBefore = im;
    for (int n : {2, 3, 6, 12, 1000, -2, -3, -12, -2147483647 - 1}) {
        EXPECT_EQ(fft(n, re.data(), im.data()), -1) << n;
        EXPECT_EQ(re, reBefore);
        EXPECT_EQ(im, imBefore);
    }
    // The tables of size 16 are still there and still right.
    ASSERT_EQ(fft(-16, re.data(), im.data()), 0);
    for (int i = 0; i < 16; ++i) {
        EXPECT_NEAR(re[i], i == 0 ? 1.0 : 0.0, 1e-15) << i;
        EXPECT_NEAR(im[i], 0.0, 1e-15) << i;
    }
}

// A failed size is forgotten: asking for it again tries the allocation again
// instead of using missing tables.
TEST(FFT, TablesTooLargeToAllocateReportAndAreForgotten) {
    for (int attempt = 0; attempt < 2; ++attempt) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(fft(1 << 30, nullptr, nullptr), 1);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "\x8B\x4C\x89\xAF\x97\xCC\x88\xE6\x95\x73\x91\xAB\n");
    }
    Doubles re{1.0, 0.0, 0.0, 0.0};
    Doubles im(4, 0.0);
    ASSERT_EQ(fft(4, re.data(), im.data()), 0);
    EXPECT_EQ(re[3], 0.25);
}
