#ifndef QUORVEX_TESTS_SUPPORT_PCMPACKING_H
#define QUORVEX_TESTS_SUPPORT_PCMPACKING_H

#include <cstdint>
#include <vector>

#include "pcm/PcmSamples.h"

namespace testutil {

using Samples = std::vector<int64_t>;

// Integer samples as interleaved PCM of 16, 24 or 32 bits.
inline std::vector<unsigned char> pack(int bits, const Samples& samples) {
    std::vector<unsigned char> b(samples.size() * static_cast<size_t>(bits / 8));
    for (size_t i = 0; i < samples.size(); ++i) {
        unsigned char* p = b.data() + i * static_cast<size_t>(bits / 8);
        bits == 16   ? pcm::write16(p, samples[i])
        : bits == 24 ? pcm::write24(p, samples[i])
                     : pcm::write32(p, samples[i]);
    }
    return b;
}

// The whole samples within the first `bytes` of `b`.
inline Samples unpack(int bits, const std::vector<unsigned char>& b, int bytes) {
    Samples v;
    for (const unsigned char* p = b.data(); p + bits / 8 <= b.data() + bytes; p += bits / 8)
        v.push_back(bits == 16 ? pcm::read16(p) : bits == 24 ? pcm::read24(p) : pcm::read32(p));
    return v;
}

}  // namespace testutil

#endif
