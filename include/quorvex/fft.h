#ifndef QUORVEX_FFT_H
#define QUORVEX_FFT_H

#include <quorvex/export.h>

// In-place radix-2 complex FFT over separate real (x) and imaginary (y)
// arrays of |n| doubles, result in natural order. n > 0: forward transform
// scaled by 1/n; n < 0: inverse transform of size -n, unscaled; n = 0: frees
// the cached tables. |n| must be 1 or a power of two of at least 4; any
// other size returns -1 and touches nothing. Returns 0, or 1 (with a message
// on standard error) when the tables cannot be allocated.
//
// The sine and bit-reversal tables are cached for the last size used and
// shared by every caller; calls must not overlap.
QUORVEX_API int fft(int n, double* x, double* y);

#endif
