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

}  // namespace framework
