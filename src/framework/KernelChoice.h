#ifndef QUORVEX_FRAMEWORK_KERNELCHOICE_H
#define QUORVEX_FRAMEWORK_KERNELCHOICE_H

// Whether kernels built for wider vectors than the baseline may run where the
// processor has them. Setting QUORVEX_KERNELS=plain in the environment keeps
// every kernel on its plain build, so that build can be tested on any machine.
// Both builds give the same bits; only the speed differs.
//
// A kernel gets its wide build by being written once as a forced-inline loop
// (QUORVEX_KERNEL_INLINE) and wrapped twice: plainly, and in a function marked
// QUORVEX_WIDE_TARGET, chosen at run time by wideKernelsRun(). Vectorising
// only across independent lanes keeps every value's arithmetic unchanged.

#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
#define QUORVEX_WIDE_KERNELS 1
#define QUORVEX_WIDE_TARGET __attribute__((target("avx")))
// For kernels whose arithmetic is defined with fused multiply-adds; their
// plain build computes the same fused operations one lane at a time.
#define QUORVEX_FMA_TARGET __attribute__((target("avx2,fma")))
#define QUORVEX_KERNEL_INLINE inline __attribute__((always_inline))
#else
#define QUORVEX_KERNEL_INLINE inline
#endif

namespace framework {

// Read from the environment on the first call, which kernels make while the
// library loads; the answer never changes afterwards.
bool wideKernelsAllowed();

// Allowed, and the processor has 256-bit vectors of doubles.
bool wideKernelsRun();

// Wide kernels run, and the processor also has AVX2 and fused multiply-add.
bool fmaKernelsRun();

}  // namespace framework

#endif
