#include <quorvex/SimpleUpSamplingFilter.h>

#include <cstdint>
#include <cstring>

#include "pcm/PcmSamples.h"

namespace {

// One output sample from one input sample, for each supported depth pair.
struct Copy16 {
    static constexpr int kIn = 2, kOut = 2;
    static void convert(const unsigned char* s, unsigned char* d) { std::memcpy(d, s, 2); }
};

struct Copy24 {
    static constexpr int kIn = 3, kOut = 3;
    static void convert(const unsigned char* s, unsigned char* d) { std::memcpy(d, s, 3); }
};

struct Widen16To24 {
    static constexpr int kIn = 2, kOut = 3;
    static void convert(const unsigned char* s, unsigned char* d) {
        pcm::write24(d, pcm::read16(s) * 256);
    }
};

struct Narrow24To16 {
    static constexpr int kIn = 3, kOut = 2;
    static void convert(const unsigned char* s, unsigned char* d) {
        pcm::write16(d, pcm::read24(s) >> 8);  // arithmetic: rounds toward minus infinity
    }
};

// Writes the m / 2 output frames, each from input frame floor(j * n / m).
// The source index only grows, so the first source frame that lacks its right
// sample (possible only for an odd n) ends the block.
template <typename Conversion>
void holdFrames(const unsigned char* in, int64_t n, unsigned char* out, int64_t m) {
    const int64_t frames = m / 2;
    for (int64_t j = 0; j < frames; ++j) {
        const int64_t s = j * n / m;
        if (2 * s + 1 >= n) return;
        const unsigned char* src = in + 2 * s * Conversion::kIn;
        unsigned char* dst = out + 2 * j * Conversion::kOut;
        Conversion::convert(src, dst);
        Conversion::convert(src + Conversion::kIn, dst + Conversion::kOut);
    }
}

bool isConvertible(int inBits, int outBits) {
    return (inBits == 16 || inBits == 24) && (outBits == 16 || outBits == 24);
}

void holdFramesAtDepths(int inBits, int outBits, const unsigned char* in, int64_t n,
                        unsigned char* out, int64_t m) {
    if (inBits == 16)
        outBits == 16 ? holdFrames<Copy16>(in, n, out, m) : holdFrames<Widen16To24>(in, n, out, m);
    else
        outBits == 16 ? holdFrames<Narrow24To16>(in, n, out, m) : holdFrames<Copy24>(in, n, out, m);
}

}  // namespace

SimpleUpSamplingFilter::SimpleUpSamplingFilter() = default;

SimpleUpSamplingFilter::~SimpleUpSamplingFilter() = default;

const char* SimpleUpSamplingFilter::getName() const { return "IntSimpleUpSamplingFilter"; }

int SimpleUpSamplingFilter::setParamData(unsigned long, const void*, int) { return 0; }

int SimpleUpSamplingFilter::getParamData(unsigned long, void*, int) { return 0; }

void SimpleUpSamplingFilter::reset() {}

int SimpleUpSamplingFilter::process(int inRate, int inBits, const void* in, int inBytes,
                                    int outRate, int outBits, void* out, int outCapacity) {
    // An output rate of 0 asks for no samples; a negative one would make the
    // byte count negative.
    if (inBits <= 0 || inBits % 8 != 0 || inRate <= 0 || outRate < 0 || inBytes < 0) return -1;
    // Checked first so that the byte count below cannot overflow.
    const bool sameFormat = inBits == outBits && inRate == outRate;
    if (!sameFormat && !isConvertible(inBits, outBits)) return -1;
    const int64_t n = inBytes / (inBits / 8);
    const int64_t m = n * outRate / inRate;
    const int64_t result = outBits / 8 * m;
    if (result > outCapacity) return -1;
    const auto* src = static_cast<const unsigned char*>(in);
    auto* dst = static_cast<unsigned char*>(out);

    if (sameFormat) {
        if (result > 0) std::memcpy(dst, src, static_cast<size_t>(result));
    } else {
        holdFramesAtDepths(inBits, outBits, src, n, dst, m);
    }
    return static_cast<int>(result);
}
