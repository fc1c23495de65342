#ifndef QUORVEX_PCM_PCMSAMPLES_H
#define QUORVEX_PCM_PCMSAMPLES_H

// Interleaved integer PCM as hosts hold it: signed two's complement,
// little-endian, no padding. 24-bit samples are packed into three bytes.

#include <cstdint>

namespace pcm {

inline bool isSupportedDepth(int bits) { return bits == 16 || bits == 24 || bits == 32; }

inline int32_t read16(const unsigned char* p) {
    return static_cast<int16_t>(static_cast<uint16_t>(p[0] | (p[1] << 8)));
}

// The 24-bit sample placed in bits 8-31, so its sign lands in bit 31 and its
// value is the sample times 256.
inline int32_t read24High(const unsigned char* p) {
    const uint32_t bits = (static_cast<uint32_t>(p[0]) << 8) | (static_cast<uint32_t>(p[1]) << 16) |
                          (static_cast<uint32_t>(p[2]) << 24);
    return static_cast<int32_t>(bits);
}

inline int32_t read24(const unsigned char* p) { return read24High(p) >> 8; }

inline int32_t read32(const unsigned char* p) {
    const uint32_t bits = static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8) |
                          (static_cast<uint32_t>(p[2]) << 16) | (static_cast<uint32_t>(p[3]) << 24);
    return static_cast<int32_t>(bits);
}

// Each writer stores the low bytes of `value`, dropping the rest.
inline void write16(unsigned char* p, int64_t value) {
    const auto bits = static_cast<uint64_t>(value);
    p[0] = static_cast<unsigned char>(bits);
    p[1] = static_cast<unsigned char>(bits >> 8);
}

inline void write24(unsigned char* p, int64_t value) {
    const auto bits = static_cast<uint64_t>(value);
    p[0] = static_cast<unsigned char>(bits);
    p[1] = static_cast<unsigned char>(bits >> 8);
    p[2] = static_cast<unsigned char>(bits >> 16);
}

inline void write32(unsigned char* p, int64_t value) {
    const auto bits = static_cast<uint64_t>(value);
    p[0] = static_cast<unsigned char>(bits);
    p[1] = static_cast<unsigned char>(bits >> 8);
    p[2] = static_cast<unsigned char>(bits >> 16);
    p[3] = static_cast<unsigned char>(bits >> 24);
}

}  // namespace pcm

#endif
