#include "framework/KernelChoice.h"

#include <cstdlib>
#include <cstring>

namespace framework {

bool wideKernelsAllowed() {
    static const bool allowed = [] {
        const char* choice = std::getenv("QUORVEX_KERNELS");
        return choice == nullptr || std::strcmp(choice, "plain") != 0;
    }();
    return allowed;
}

bool wideKernelsRun() {
#ifdef QUORVEX_WIDE_KERNELS
    static const bool run = [] {
        if (!wideKernelsAllowed()) return false;
        __builtin_cpu_init();
        return __builtin_cpu_supports("avx") != 0;
    }();
    return run;
#else
    return false;
#endif
}

bool fmaKernelsRun() {
#ifdef QUORVEX_WIDE_KERNELS
    static const bool run = wideKernelsRun() && __builtin_cpu_supports("avx2") != 0 &&
                            __builtin_cpu_supports("fma") != 0;
    return run;
#else
    return false;
#endif
}

}  // namespace framework
