#include "pcm/PcmConversion.h"

#include <cmath>
#include <cstdint>

#include "framework/KernelChoice.h"
#include "pcm/PcmSamples.h"

namespace pcm {

namespace {

constexpr double kFromPcm16 = 3.0517578125e-05;       // 2^-15
constexpr double kFromPcm32 = 4.656612873077393e-10;  // 2^-31, also for 24 bits in bits 8-31
constexpr double kToPcm16 = 32768.0;
constexpr double kToPcm24 = 8388607.0;
constexpr double kToPcm32 = 2147483648.0;
constexpr double kTwoTo31 = 2147483648.0;

// Truncation toward zero that saturates outside the 64-bit range and maps NaN
// to 0, so no scaled sample can make the conversion undefined.
int64_t truncateToInt64(double v) {
    constexpr double kTwoTo63 = 9223372036854775808.0;
    if (v >= kTwoTo63) return INT64_MAX;
    if (v < -kTwoTo63) return INT64_MIN;
    if (v != v) return 0;
    return static_cast<int64_t>(v);
}

int64_t clamp(int64_t v, int64_t lo, int64_t hi) { return v < lo ? lo : (v > hi ? hi : v); }

// Samples staged as 32-bit integers between the pass over the bytes and the
// pass over the doubles, so the conversions run in full vector lanes.
constexpr int kChunk = 256;

template <int Bits>
QUORVEX_KERNEL_INLINE int32_t readWidened(const unsigned char* in) {
    if constexpr (Bits == 16) return read16(in);
    if constexpr (Bits == 24) return read24High(in);
    return read32(in);
}

template <int Bits>
QUORVEX_KERNEL_INLINE void writeNarrowed(unsigned char* out, int32_t value) {
    if constexpr (Bits == 16) write16(out, value);
    if constexpr (Bits == 24) write24(out, value);
    if constexpr (Bits == 32) write32(out, value);
}

template <int Bits>
QUORVEX_KERNEL_INLINE void toDoublesChunk(const unsigned char* in, double* x, int n) {
    constexpr double scale = Bits == 16 ? kFromPcm16 : kFromPcm32;
    int32_t staged[kChunk];
    for (int i = 0; i < n; ++i) staged[i] = readWidened<Bits>(in + i * (Bits / 8));
    for (int i = 0; i < n; ++i) x[i] = staged[i] * scale;
}

// Clamping the scaled double to the depth's range before truncating gives
// what truncating and then clamping the integer gives, in 32-bit lanes.
template <int Bits>
QUORVEX_KERNEL_INLINE void clampedChunk(const double* x, int32_t* staged, int n) {
    constexpr double scale = Bits == 16 ? kToPcm16 : kToPcm32;
    constexpr double lowest = -scale;
    constexpr double highest = scale - 1.0;
    for (int i = 0; i < n; ++i) {
        const double v = x[i] * scale;
        const double aboveLowest = v < lowest ? lowest : v;
        const double inRange = aboveLowest > highest ? highest : aboveLowest;
        staged[i] = static_cast<int32_t>(v == v ? inRange : 0.0);
    }
}

// 24 bits wrap instead: a scaled sample within 32 bits truncates to the same
// low bits in a 32-bit lane; a chunk holding any other takes the 64-bit path.
QUORVEX_KERNEL_INLINE bool wrappedChunk(const double* x, int32_t* staged, int n) {
    int outside = 0;  // counted rather than and-ed, which keeps the loop in lanes
    for (int i = 0; i < n; ++i) outside += std::fabs(x[i] * kToPcm24) < kTwoTo31 ? 0 : 1;
    if (outside != 0) return false;
    for (int i = 0; i < n; ++i) staged[i] = static_cast<int32_t>(x[i] * kToPcm24);
    return true;
}

template <int Bits>
QUORVEX_KERNEL_INLINE void fromDoublesChunk(const double* x, unsigned char* out, int n) {
    int32_t staged[kChunk];
    if constexpr (Bits == 24) {
        if (!wrappedChunk(x, staged, n)) {
            for (int i = 0; i < n; ++i) sampleFromDouble(24, x[i], out + 3 * i);
            return;
        }
    } else {
        clampedChunk<Bits>(x, staged, n);
    }
    for (int i = 0; i < n; ++i) writeNarrowed<Bits>(out + i * (Bits / 8), staged[i]);
}

template <int Bits>
QUORVEX_KERNEL_INLINE void toDoublesBlock(const unsigned char* in, double* x, int n) {
    for (int at = 0; at < n; at += kChunk)
        toDoublesChunk<Bits>(in + at * (Bits / 8), x + at, n - at < kChunk ? n - at : kChunk);
}

template <int Bits>
QUORVEX_KERNEL_INLINE void fromDoublesBlock(const double* x, unsigned char* out, int n) {
    for (int at = 0; at < n; at += kChunk)
        fromDoublesChunk<Bits>(x + at, out + at * (Bits / 8), n - at < kChunk ? n - at : kChunk);
}

template <int Bits>
void toDoublesPlain(const unsigned char* in, double* x, int n) {
    toDoublesBlock<Bits>(in, x, n);
}

template <int Bits>
void fromDoublesPlain(const double* x, unsigned char* out, int n) {
    fromDoublesBlock<Bits>(x, out, n);
}

#ifdef QUORVEX_WIDE_KERNELS
const bool kWideConversions = framework::wideKernelsRun();

template <int Bits>
QUORVEX_WIDE_TARGET void toDoublesWide(const unsigned char* in, double* x, int n) {
    toDoublesBlock<Bits>(in, x, n);
}

template <int Bits>
QUORVEX_WIDE_TARGET void fromDoublesWide(const double* x, unsigned char* out, int n) {
    fromDoublesBlock<Bits>(x, out, n);
}
#endif

template <int Bits>
void toDoublesAt(const unsigned char* in, double* x, int n) {
#ifdef QUORVEX_WIDE_KERNELS
    if (kWideConversions) return toDoublesWide<Bits>(in, x, n);
#endif
    toDoublesPlain<Bits>(in, x, n);
}

template <int Bits>
void fromDoublesAt(const double* x, unsigned char* out, int n) {
#ifdef QUORVEX_WIDE_KERNELS
    if (kWideConversions) return fromDoublesWide<Bits>(x, out, n);
#endif
    fromDoublesPlain<Bits>(x, out, n);
}

}  // namespace

double sampleToDouble(int bits, const unsigned char* in) {
    switch (bits) {
        case 16: return read16(in) * kFromPcm16;
        case 24: return read24High(in) * kFromPcm32;
        default: return read32(in) * kFromPcm32;
    }
}

void sampleFromDouble(int bits, double x, unsigned char* out) {
    switch (bits) {
        case 16: write16(out, clamp(truncateToInt64(x * kToPcm16), INT16_MIN, INT16_MAX)); break;
        case 24: write24(out, truncateToInt64(x * kToPcm24)); break;
        default: write32(out, clamp(truncateToInt64(x * kToPcm32), INT32_MIN, INT32_MAX)); break;
    }
}

void toDoubles(int bits, const unsigned char* in, double* x, int n) {
    switch (bits) {
        case 16: toDoublesAt<16>(in, x, n); break;
        case 24: toDoublesAt<24>(in, x, n); break;
        case 32: toDoublesAt<32>(in, x, n); break;
    }
}

void fromDoubles(int bits, const double* x, unsigned char* out, int n) {
    switch (bits) {
        case 16: fromDoublesAt<16>(x, out, n); break;
        case 24: fromDoublesAt<24>(x, out, n); break;
        case 32: fromDoublesAt<32>(x, out, n); break;
    }
}

}  // namespace pcm
