#include "rate/clean/CleanKernels.h"

#include <cmath>
#include <cstring>

#include "framework/KernelChoice.h"
#include "rate/clean/CleanDesign.h"

// The other filters reproduce a fixed order of roundings bit for bit, so the
// library is built without contraction of products into sums. This
// converter's arithmetic is its own and is defined with fused multiply-adds,
// which the plain build computes one correctly rounded lane at a time and the
// wide build with the instruction: the same bits, half the operations.

namespace quorvex::clean {

namespace {

typedef float Lanes __attribute__((vector_size(kTapGroup * sizeof(float))));
typedef float Quad __attribute__((vector_size(4 * sizeof(float))));

// Lanes pass by reference only: by value they would take a different
// calling convention in the wide build. The fused build turns the lanes'
// fused multiply-adds into one instruction.
QUORVEX_KERNEL_INLINE void multiplyAdd(Lanes& acc, const Lanes& h, const Lanes& x) {
#pragma GCC unroll 8
    for (int i = 0; i < kTapGroup; ++i) acc[i] = std::fma(h[i], x[i], acc[i]);
}

QUORVEX_KERNEL_INLINE void load(Lanes& v, const float* p) { std::memcpy(&v, p, sizeof v); }

QUORVEX_KERNEL_INLINE void foldHalves(Quad& folded, const Lanes& s) {
    Quad low, high;
    std::memcpy(&low, &s, sizeof low);
    std::memcpy(&high, reinterpret_cast<const char*>(&s) + sizeof low, sizeof high);
    folded = low + high;
}

// Each channel's lanes in one fixed order,
// ((s0 + s4) + (s2 + s6)) + ((s1 + s5) + (s3 + s7)), both channels at once.
QUORVEX_KERNEL_INLINE void stereoSums(const Lanes& left, const Lanes& right, double* out) {
    Quad l, r;
    foldHalves(l, left);
    foldHalves(r, right);
    const Quad evens = {l[0], l[1], r[0], r[1]};
    const Quad odds = {l[2], l[3], r[2], r[3]};
    const Quad pairs = evens + odds;
    out[0] = pairs[0] + pairs[1];
    out[1] = pairs[2] + pairs[3];
}

QUORVEX_KERNEL_INLINE void advance(const Plan& plan, Cursor& cursor) {
    cursor.first += plan.stepFrames;
    cursor.phase += plan.stepPhase;
    if (cursor.phase >= plan.up) {
        cursor.phase -= plan.up;
        cursor.first += 1;
    }
}

// `Outputs` consecutive outputs in one pass over the history from the tap
// group their first window starts in. Each output's run is read shifted by
// where its window starts past that group, so the history loads are shared
// and whole groups; the zero taps padding the runs add nothing.
template <int Outputs>
QUORVEX_KERNEL_INLINE void produceBatch(const Plan& plan, const float* left, const float* right,
                                        Cursor& cursor, double* out) {
    const int64_t base = cursor.first & ~int64_t{kTapGroup - 1};
    const float* runs[Outputs];
    int64_t reach = 0;
    for (int k = 0; k < Outputs; ++k) {
        const int64_t shift = cursor.first - base;
        runs[k] = plan.table + static_cast<int64_t>(cursor.phase) * plan.stride - shift;
        reach = shift + plan.taps;
        advance(plan, cursor);
    }
    const float* l = left + base;
    const float* r = right + base;
    Lanes sumsLeft[Outputs] = {}, sumsRight[Outputs] = {};
    for (int64_t j = 0; j < reach; j += kTapGroup) {
        Lanes x, y;
        load(x, l + j);
        load(y, r + j);
#pragma GCC unroll 4
        for (int k = 0; k < Outputs; ++k) {
            Lanes h;
            load(h, runs[k] + j);
            multiplyAdd(sumsLeft[k], h, x);
            multiplyAdd(sumsRight[k], h, y);
        }
    }
    for (int k = 0; k < Outputs; ++k) stereoSums(sumsLeft[k], sumsRight[k], out + 2 * k);
}

QUORVEX_KERNEL_INLINE void produce(const Plan& plan, const float* left, const float* right,
                                   Cursor& cursor, int64_t count, double* out) {
    int64_t n = 0;
    for (; n + kBatch <= count; n += kBatch)
        produceBatch<kBatch>(plan, left, right, cursor, out + 2 * n);
    for (; n < count; ++n) produceBatch<1>(plan, left, right, cursor, out + 2 * n);
}

void producePlain(const Plan& plan, const float* left, const float* right, Cursor& cursor,
                  int64_t count, double* out) {
    produce(plan, left, right, cursor, count, out);
}

#ifdef QUORVEX_WIDE_KERNELS
// Without the fused instruction a wide build would still fuse lane by lane,
// no faster than the plain one, so only the fused build is wide.
const bool kFusedSums = framework::fmaKernelsRun();

QUORVEX_FMA_TARGET void produceFused(const Plan& plan, const float* left, const float* right,
                                     Cursor& cursor, int64_t count, double* out) {
    produce(plan, left, right, cursor, count, out);
}
#endif

}  // namespace

void produceOutputs(const Plan& plan, const float* left, const float* right, Cursor& cursor,
                    int64_t count, double* out) {
#ifdef QUORVEX_WIDE_KERNELS
    if (kFusedSums) return produceFused(plan, left, right, cursor, count, out);
#endif
    producePlain(plan, left, right, cursor, count, out);
}

}  // namespace quorvex::clean
