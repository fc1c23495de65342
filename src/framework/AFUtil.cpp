#include <quorvex/AFUtil.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

void* AFMalloc(int size) { return std::malloc(static_cast<size_t>(size)); }

void AFFree(void* p) { std::free(p); }

void* AFMemCopy(void* dst, const void* src, int n) {
    return std::memcpy(dst, src, static_cast<size_t>(n));
}

void* AFMemSet(void* dst, unsigned char value, int n) {
    return std::memset(dst, value, static_cast<size_t>(n));
}

int64_t AFQueryTick() { return 0; }

int64_t AFQueryFrequency() { return 1; }

int AFsnprintf(char* s, unsigned long n, const char* format, ...) {
    va_list args;
    va_start(args, format);
    const int full = std::vsnprintf(s, n, format, args);
    va_end(args);
    return full;
}

void AFPRINT_IMPL(const char* format, ...) {
    // Both stages are bounded at 1023, so the line keeps at most 1022
    // characters whatever the message's length.
    char message[1024];
    char line[1024];
    va_list args;
    va_start(args, format);
    std::vsnprintf(message, 1023, format, args);
    va_end(args);
    // Cutting the tail is intended; only a formatting error stops the print.
    if (std::snprintf(line, 1023, "USER:%s", message) < 0) return;
    std::fputs(line, stdout);
}
