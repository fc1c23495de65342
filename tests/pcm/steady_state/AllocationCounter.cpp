// Replaces the C allocator for the whole process with a front end over
// glibc's own entry points that counts allocations and can make them fail. Symbols defined in the executable take
// precedence over libc's, so the library, libstdc++ and GoogleTest all
// allocate through here.
#include "AllocationCounter.h"

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* p, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
void __libc_free(void* p);
}

namespace {

std::atomic<long> gAllocations{0};
std::atomic<bool> gFail{false};

bool failing() { return gFail.load(std::memory_order_relaxed); }

void* counted(void* p) {
    gAllocations.fetch_add(1, std::memory_order_relaxed);
    return p;
}

}  // namespace

long allocationCount() { return gAllocations.load(std::memory_order_relaxed); }

void setAllocationsFail(bool fail) { gFail.store(fail, std::memory_order_relaxed); }

extern "C" {

void* malloc(size_t size) noexcept { return failing() ? nullptr : counted(__libc_malloc(size)); }

void* calloc(size_t count, size_t size) noexcept {
    return failing() ? nullptr : counted(__libc_calloc(count, size));
}

void* realloc(void* p, size_t size) noexcept {
    return failing() ? nullptr : counted(__libc_realloc(p, size));
}

void* aligned_alloc(size_t alignment, size_t size) noexcept {
    return failing() ? nullptr : counted(__libc_memalign(alignment, size));
}

void* memalign(size_t alignment, size_t size) noexcept {
    return failing() ? nullptr : counted(__libc_memalign(alignment, size));
}

int posix_memalign(void** out, size_t alignment, size_t size) noexcept {
    void* p = failing() ? nullptr : counted(__libc_memalign(alignment, size));
    if (p == nullptr) return ENOMEM;
    *out = p;
    return 0;
}

void free(void* p) noexcept { __libc_free(p); }

}  // extern "C"
