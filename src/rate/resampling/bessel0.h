#ifndef QUORVEX_RATE_RESAMPLING_BESSEL0_H
#define QUORVEX_RATE_RESAMPLING_BESSEL0_H

// I0(x), the modified Bessel function of the first kind and order zero, by
// its power series. The series stops once the unsquared term (x/2)^j / j!
// falls to 1e-10, which for the window's arguments (0 to 10) is far below
// the precision of the sum.
static inline double bessel0(double x) {
    double s = 1.0;
    double u = x * 0.5;
    double k = 1.0;
    while (u > 1e-10) {
        s = s + u * u;
        k = k + 1.0;
        u = u * x * 0.5 / k;
    }
    return s;
}

#endif
