#include "rate/clean/CleanKernels.h"

#include <cstring>

#include "framework/KernelChoice.h"
#include "rate/clean/CleanDesign.h"

namespace quorvex::clean {

namespace {

typedef float Lanes __attribute__((vector_size(kTapGroup * sizeof(float))));
typedef float Quad __attribute__((vector_size(4 * sizeof(float))));

// Lanes pass by reference only: by value they would take a different
// calling convention in the wide build.
QUORVEX_KERNEL_INLINE void addProducts(Lanes& acc, const Lanes& h, const float* x) {
    Lanes v;
    std::memcpy(&v, x, sizeof v);
    acc += h * v;
}

QUORVEX_KERNEL_INLINE void loadTaps(Lanes& h, const float* p) { std::memcpy(&h, p, sizeof h); }

QUORVEX_KERNEL_INLINE void foldHalves(Quad& folded, const Lanes& s) {
    Quad low, high;
    std::memcpy(&low, &s, sizeof low);
    std::memcpy(&high, reinterpret_cast<const char*>(&s) + sizeof low, sizeof high);
    folded = low + high;
}

// Each channel's lane sets added, then its lanes in one fixed order,
// ((s0 + s4) + (s2 + s6)) + ((s1 + s5) + (s3 + s7)), both channels at once.
QUORVEX_KERNEL_INLINE void stereoSums(const Lanes& l0, const Lanes& l1, const Lanes& r0,
                                      const Lanes& r1, double* out) {
    Quad l, r;
    foldHalves(l, l0 + l1);
    foldHalves(r, r0 + r1);
    const Quad evens = {l[0], l[1], r[0], r[1]};
    const Quad odds = {l[2], l[3], r[2], r[3]};
    const Quad pairs = evens + odds;
    out[0] = pairs[0] + pairs[1];
    out[1] = pairs[2] + pairs[3];
}

QUORVEX_KERNEL_INLINE void produce(const Plan& plan, const float* left, const float* right,
                                   Cursor& cursor, int64_t count, double* out) {
    constexpr int kPair = 2 * kTapGroup;
    for (int64_t n = 0; n < count; ++n) {
        const float* h = plan.table + static_cast<int64_t>(cursor.phase) * plan.taps;
        const float* l = left + cursor.first;
        const float* r = right + cursor.first;
        // Two lane sets per channel keep four independent chains of additions
        // in flight.
        Lanes l0 = {}, l1 = {}, r0 = {}, r1 = {};
        int j = 0;
        for (; j + kPair <= plan.taps; j += kPair) {
            Lanes h0, h1;
            loadTaps(h0, h + j);
            loadTaps(h1, h + j + kTapGroup);
            addProducts(l0, h0, l + j);
            addProducts(r0, h0, r + j);
            addProducts(l1, h1, l + j + kTapGroup);
            addProducts(r1, h1, r + j + kTapGroup);
        }
        if (j < plan.taps) {
            Lanes h0;
            loadTaps(h0, h + j);
            addProducts(l0, h0, l + j);
            addProducts(r0, h0, r + j);
        }
        stereoSums(l0, l1, r0, r1, out + 2 * n);

        cursor.first += plan.stepFrames;
        cursor.phase += plan.stepPhase;
        if (cursor.phase >= plan.up) {
            cursor.phase -= plan.up;
            cursor.first += 1;
        }
    }
}

void producePlain(const Plan& plan, const float* left, const float* right, Cursor& cursor,
                  int64_t count, double* out) {
    produce(plan, left, right, cursor, count, out);
}

#ifdef QUORVEX_WIDE_KERNELS
// One 256-bit register per lane set instead of two 128-bit ones; each lane
// does the same operations in the same order.
const bool kWideSums = framework::wideKernelsRun();

QUORVEX_WIDE_TARGET void produceWide(const Plan& plan, const float* left, const float* right,
                                     Cursor& cursor, int64_t count, double* out) {
    produce(plan, left, right, cursor, count, out);
}
#endif

}  // namespace

void produceOutputs(const Plan& plan, const float* left, const float* right, Cursor& cursor,
                    int64_t count, double* out) {
#ifdef QUORVEX_WIDE_KERNELS
    if (kWideSums) return produceWide(plan, left, right, cursor, count, out);
#endif
    producePlain(plan, left, right, cursor, count, out);
}

}  // namespace quorvex::clean
