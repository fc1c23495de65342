#include <quorvex/fft.h>

#include <quorvex/AFUtil.h>

#include <climits>
#include <cmath>
#include <cstdio>

#include "dsp/StereoLanes.h"

namespace {

constexpr double kPi = 3.141592653589793;
constexpr double kSqrtHalf = 0.7071067811865476;

bool isSupportedSize(int size) { return size == 1 || (size >= 4 && (size & (size - 1)) == 0); }

// "Out of memory" in Japanese, as Shift-JIS bytes.
void reportOutOfMemory() {
    static const unsigned char message[13] = {0x8B, 0x4C, 0x89, 0xAF, 0x97, 0xCC, 0x88,
                                              0xE6, 0x95, 0x73, 0x91, 0xAB, 0x0A};
    std::fwrite(message, 1, sizeof message, stderr);
}

void releaseTables(double*& sintbl, int*& bitrev) {
    AFFree(sintbl);
    AFFree(bitrev);
    sintbl = nullptr;
    bitrev = nullptr;
}

// sintbl[i] = sin(2 pi i / size) for i < size + size / 4, so that
// sintbl[h + size / 4] is the cosine. One octant comes from a rotation
// recurrence, the rest from the symmetries of the sine.
void buildSineTable(int size, double* sintbl) {
    const int n2 = size / 2;
    const int n4 = size / 4;
    const int n8 = size / 8;
    const double t = std::sin((1.0 / size) * kPi);
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
    if (n8 != 0) sintbl[n8] = kSqrtHalf;
    for (int i = 0; i < n4; ++i) sintbl[n2 - i] = sintbl[i];
    // Runs forward on purpose: the second half reads entries the first wrote.
    for (int i = 0; i < n2 + n4; ++i) sintbl[i + n2] = -sintbl[i];
}

void buildBitReversal(int size, int* bitrev) {
    const int n2 = size / 2;
    int i = 0;
    int j = 0;
    for (;;) {
        bitrev[i] = j;
        if (++i == size) break;
        int k = n2;
        while (k <= j) {
            j = j - k;
            k = k / 2;
        }
        j = j + k;
    }
}

void permute(int size, const int* bitrev, double* x, double* y) {
    for (int i = 0; i < size; ++i) {
        const int j = bitrev[i];
        if (i < j) {
            const double tx = x[i];
            x[i] = x[j];
            x[j] = tx;
            const double ty = y[i];
            y[i] = y[j];
            y[j] = ty;
        }
    }
}

// Two neighbouring butterflies of a group run in the two lanes of a vector.
using dsp::StereoLanes;

// A butterfly operand: one element, or two neighbouring ones in the lanes.
template <typename T>
T load(const double* p);
template <>
inline double load<double>(const double* p) {
    return *p;
}
template <>
inline StereoLanes load<StereoLanes>(const double* p) {
    return dsp::loadLanes(p);
}

inline void store(double* p, double v) { *p = v; }
inline void store(double* p, StereoLanes v) { dsp::storeLanes(p, v); }

// One butterfly per lane: the lower element i and the upper m = i + k,
// rotated by the twiddle (c, s).
template <typename T>
inline void butterfly(T c, T s, double* xi, double* yi, double* xm, double* ym) {
    const T x0 = load<T>(xi);
    const T y0 = load<T>(yi);
    const T x1 = load<T>(xm);
    const T y1 = load<T>(ym);
    const T dx = s * y1 + c * x1;
    const T dy = c * y1 - s * x1;
    store(xm, x0 - dx);
    store(xi, x0 + dx);
    store(ym, y0 - dy);
    store(yi, y0 + dy);
}

// All butterflies of one stage are independent, so walking each group's
// pairs in memory order, two at a time, gives exactly the values of any
// other order.
void butterflies(int size, const double* sintbl, bool inverse, double* x, double* y) {
    const int n4 = size / 4;
    const double sign = inverse ? -1.0 : 1.0;
    for (int base = 0; base + 1 < size; base += 2) {
        butterfly<double>(sintbl[n4], sign * sintbl[0], x + base, y + base, x + base + 1,
                          y + base + 1);
    }
    for (int k = 2; k < size; k *= 2) {
        const int k2 = 2 * k;
        const int d = size / k2;
        for (int base = 0; base < size; base += k2) {
            for (int j = 0; j < k; j += 2) {
                const int h = j * d;
                const StereoLanes c = {sintbl[h + n4], sintbl[h + d + n4]};
                const StereoLanes s = {sign * sintbl[h], sign * sintbl[h + d]};
                const int i = base + j;
                butterfly<StereoLanes>(c, s, x + i, y + i, x + i + k, y + i + k);
            }
        }
    }
}

}  // namespace

int fft(int n, double* x, double* y) {
    static int last_n = 0;
    static double* sintbl = nullptr;
    static int* bitrev = nullptr;

    if (n == INT_MIN) return -1;
    const bool inverse = n < 0;
    const int size = inverse ? -n : n;
    if (size != 0 && !isSupportedSize(size)) return -1;

    if (size != last_n || size == 0) {
        last_n = size;
        releaseTables(sintbl, bitrev);
        if (size == 0) return 0;
        const long long tableBytes = (static_cast<long long>(size) + size / 4) * sizeof(double);
        if (tableBytes <= INT_MAX) {
            sintbl = static_cast<double*>(AFMalloc(static_cast<int>(tableBytes)));
            bitrev = static_cast<int*>(AFMalloc(size * static_cast<int>(sizeof(int))));
        }
        if (sintbl == nullptr || bitrev == nullptr) {
            // Forget the size too, so that the next call of it tries again.
            releaseTables(sintbl, bitrev);
            last_n = 0;
            reportOutOfMemory();
            return 1;
        }
        buildSineTable(size, sintbl);
        buildBitReversal(size, bitrev);
    }

    permute(size, bitrev, x, y);
    butterflies(size, sintbl, inverse, x, y);
    if (!inverse) {
        const double scale = 1.0 / size;
        for (int i = 0; i < size; ++i) {
            x[i] *= scale;
            y[i] *= scale;
        }
    }
    return 0;
}
