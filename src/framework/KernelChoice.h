#ifndef QUORVEX_FRAMEWORK_KERNELCHOICE_H
#define QUORVEX_FRAMEWORK_KERNELCHOICE_H

// Whether kernels built for wider vectors than the baseline may run where the
// processor has them. Setting QUORVEX_KERNELS=plain in the environment keeps
// every kernel on its plain build, so that build can be tested on any machine.
// Both builds give the same bits; only the speed differs.

namespace framework {

// Read from the environment on the first call, which kernels make while the
// library loads; the answer never changes afterwards.
bool wideKernelsAllowed();

}  // namespace framework

#endif
