#ifndef QUORVEX_AFUTIL_H
#define QUORVEX_AFUTIL_H

#include <cstdint>

#include <quorvex/export.h>

// Thin layer over the C library: memory for sample arrays, bounded
// formatting, the library clock and a debug print for hosts.

QUORVEX_API void* AFMalloc(int size);
QUORVEX_API void AFFree(void* p);
QUORVEX_API void* AFMemCopy(void* dst, const void* src, int n);
QUORVEX_API void* AFMemSet(void* dst, unsigned char value, int n);

// The library clock stands still: ticks are always 0 at 1 tick per second.
QUORVEX_API int64_t AFQueryTick();
QUORVEX_API int64_t AFQueryFrequency();

QUORVEX_API int AFsnprintf(char* s, unsigned long n, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

// Prints "USER:<message>" to standard output, the whole line cut at 1022
// characters. No newline is added.
QUORVEX_API void AFPRINT_IMPL(const char* format, ...) __attribute__((format(printf, 1, 2)));

#endif
