#ifndef QUORVEX_TESTS_SUPPORT_PARAMBLOCK_H
#define QUORVEX_TESTS_SUPPORT_PARAMBLOCK_H

#include <gtest/gtest.h>
#include <quorvex/AudioFilter.h>
#include <quorvex/ParamBlocks.h>

#include <cstdint>
#include <cstring>
#include <vector>

namespace testutil {

using Bytes = std::vector<unsigned char>;

// `b` with `value`'s bytes written at `offset`, the way a host fills a field.
template <typename T>
Bytes withField(Bytes b, int offset, const T& value) {
    std::memcpy(&b[static_cast<size_t>(offset)], &value, sizeof value);
    return b;
}

// An effect's block of `size` bytes: its magic, its enabled byte, zeros.
inline Bytes effectBlock(uint32_t magic, int size, unsigned char enabled) {
    Bytes b = withField(Bytes(static_cast<size_t>(size), 0), quorvex::kMagicOffset, magic);
    b[quorvex::kEnabledOffset] = enabled;
    return b;
}

// The stored block, read into a larger area whose tail must stay untouched.
inline Bytes storedBlock(RealAudioFilter& f, unsigned long id, int size) {
    Bytes b(static_cast<size_t>(size) + 8, 0xEE);
    EXPECT_EQ(f.getParamData(id, b.data(), size + 8), size);
    EXPECT_EQ(Bytes(b.begin() + size, b.end()), Bytes(8, 0xEE));
    b.resize(static_cast<size_t>(size));
    return b;
}

// The rules every parameter block shares: another identifier is ignored, a
// short size or a null pointer is refused, a wrong magic is refused without
// storing anything, and the size is compared unsigned (so -1 is large
// enough). Leaves `valid` stored.
inline void expectBlockChecks(RealAudioFilter& f, unsigned long id, unsigned long otherId,
                              Bytes valid) {
    const int size = static_cast<int>(valid.size());
    const Bytes before = storedBlock(f, id, size);
    EXPECT_EQ(f.setParamData(otherId, valid.data(), size), 0);
    EXPECT_EQ(f.getParamData(otherId, valid.data(), size), 0);
    EXPECT_EQ(f.setParamData(otherId, nullptr, size), 0);
    EXPECT_EQ(f.setParamData(id, valid.data(), size - 1), -1);
    EXPECT_EQ(f.getParamData(id, valid.data(), size - 1), -1);
    EXPECT_EQ(f.setParamData(id, nullptr, size), -1);
    EXPECT_EQ(f.getParamData(id, nullptr, size), -1);
    valid[1] ^= 1;
    EXPECT_EQ(f.setParamData(id, valid.data(), size), -1);
    EXPECT_EQ(storedBlock(f, id, size), before);
    valid[1] ^= 1;
    EXPECT_EQ(f.setParamData(id, valid.data(), -1), size);
}

template <typename T>
Bytes bytesOf(const T& v) {
    const auto* p = reinterpret_cast<const unsigned char*>(&v);
    return Bytes(p, p + sizeof v);
}

}  // namespace testutil

#endif
