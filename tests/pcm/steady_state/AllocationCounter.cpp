// Replaces the C allocator for the whole process with a front end over
// glibc's own entry points; symbols defined in the executable take
// precedence, so the library (malloc and operator new), libstdc++ and
// GoogleTest allocate through here.
#include "AllocationCounter.h"

#include <atomic>
#include <cstddef>

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* p, size_t size);
void __libc_free(void* p);
}

namespace {

std::atomic<long> gAllocations{0};
std::atomic<bool> gFail{false};

template <typename Allocate>
void* counted(Allocate allocate) {
    if (gFail.load(std::memory_order_relaxed)) return nullptr;
    gAllocations.fetch_add(1, std::memory_order_relaxed);
    return allocate();
}

}  // namespace

long allocationCount() { return gAllocations.load(std::memory_order_relaxed); }
void setAllocationsFail(bool fail) { gFail.store(fail, std::memory_order_relaxed); }

extern "C" {
void* malloc(size_t n) noexcept {
    return counted([=] { return __libc_malloc(n); });
}
void* calloc(size_t c, size_t n) noexcept {
    return counted([=] { return __libc_calloc(c, n); });
}
void* realloc(void* p, size_t n) noexcept {
    return counted([=] { return __libc_realloc(p, n); });
}
void free(void* p) noexcept { __libc_free(p); }
}
