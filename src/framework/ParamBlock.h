#ifndef QUORVEX_FRAMEWORK_PARAMBLOCK_H
#define QUORVEX_FRAMEWORK_PARAMBLOCK_H

// Field access in a stored parameter block. Blocks are plain bytes whose
// fields sit at offsets that need not be aligned for their type.

#include <cstring>

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

#endif
