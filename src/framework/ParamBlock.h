#ifndef QUORVEX_FRAMEWORK_PARAMBLOCK_H
#define QUORVEX_FRAMEWORK_PARAMBLOCK_H

// Field access and checks shared by the filters' parameter blocks, which are
// kept as raw bytes because hosts hand them over at any alignment.

#include <cstdint>
#include <cstring>

namespace paramblock {

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

// What identifies an effect's block and how much of it the effect keeps.
struct BlockLayout {
    unsigned long id;
    uint32_t magic;
    int size;         // bytes a caller's area must hold
    int storedBytes;  // bytes kept by setParamData and returned by getParamData
};

// The checks every setParamData makes before its own fields. Returns the
// caller's bytes when the fields may be examined; otherwise null, with
// *answer 0 for another filter's identifier or -1 for a short or missing area
// or a wrong magic.
inline const unsigned char* screenBlock(const BlockLayout& layout, unsigned long id,
                                        const void* block, int size, int* answer) {
    *answer = 0;
    if (id != layout.id) return nullptr;
    *answer = -1;
    if (!holdsBlock(size, layout.size) || block == nullptr) return nullptr;
    const auto* bytes = static_cast<const unsigned char*>(block);
    return fieldAt<uint32_t>(bytes, 0) == layout.magic ? bytes : nullptr;
}

// getParamData over the bytes an effect keeps.
inline int copyBlockOut(const BlockLayout& layout, unsigned long id, void* block, int size,
                        const void* stored) {
    if (id != layout.id) return 0;
    if (!holdsBlock(size, layout.size) || block == nullptr) return -1;
    std::memcpy(block, stored, static_cast<size_t>(layout.storedBytes));
    return layout.size;
}

// The whole of an effect's setParamData: the shared screening, then
// `fieldsValid(bytes)` on the effect's own fields, then `store(bytes)`, which
// keeps the block and resets what depends on it. Answers the block's size
// once the block is accepted, whatever `store` made of it.
template <typename FieldsValid, typename Store>
int acceptBlock(const BlockLayout& layout, unsigned long id, const void* block, int size,
                FieldsValid fieldsValid, Store store) {
    int answer;
    const unsigned char* bytes = screenBlock(layout, id, block, size, &answer);
    if (bytes == nullptr) return answer;
    if (!fieldsValid(bytes)) return -1;
    store(bytes);
    return layout.size;
}

}  // namespace paramblock

#endif
