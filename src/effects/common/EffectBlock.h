#ifndef QUORVEX_EFFECTS_COMMON_EFFECTBLOCK_H
#define QUORVEX_EFFECTS_COMMON_EFFECTBLOCK_H

// Field access and checks shared by the effects' parameter blocks, which are
// kept as raw bytes because hosts hand them over at any alignment.

#include <cstring>

namespace effects {

template <typename T>
T fieldAt(const unsigned char* block, int offset) {
    T value;
    std::memcpy(&value, block + offset, sizeof value);
    return value;
}

template <typename T>
void putField(unsigned char* block, int offset, T value) {
    std::memcpy(block + offset, &value, sizeof value);
}

// A caller's area is large enough; a negative size counts as huge, as an
// unsigned comparison makes it.
inline bool holdsBlock(int size, int blockSize) {
    return static_cast<unsigned>(size) >= static_cast<unsigned>(blockSize);
}

// Every one of `count` doubles from `offset` on lies in [-limit, limit]; a NaN
// does not.
inline bool doublesWithin(const unsigned char* block, int offset, int count, double limit) {
    for (int i = 0; i < count; ++i) {
        const double v = fieldAt<double>(block, offset + 8 * i);
        if (!(v >= -limit && v <= limit)) return false;
    }
    return true;
}

}  // namespace effects

#endif
