#include <quorvex/DataTypeConversionFilter.h>

#include <cstdint>
#include <new>

#include "pcm/PcmSamples.h"

namespace {

constexpr double kFromPcm16 = 3.0517578125e-05;       // 2^-15
constexpr double kFromPcm32 = 4.656612873077393e-10;  // 2^-31, also for 24 bits in bits 8-31
constexpr double kToPcm16 = 32768.0;
constexpr double kToPcm24 = 8388607.0;
constexpr double kToPcm32 = 2147483648.0;

// Truncation toward zero that saturates outside the 64-bit range and maps NaN
// to 0, so no scaled sample can make the conversion undefined.
int64_t truncateToInt64(double v) {
    constexpr double kTwoTo63 = 9223372036854775808.0;
    if (v >= kTwoTo63) return INT64_MAX;
    if (v < -kTwoTo63) return INT64_MIN;
    if (v != v) return 0;
    return static_cast<int64_t>(v);
}

int64_t clamp(int64_t v, int64_t lo, int64_t hi) { return v < lo ? lo : (v > hi ? hi : v); }

void pcmToDoubles(int bits, const unsigned char* in, double* x, int n) {
    switch (bits) {
        case 16:
            for (int i = 0; i < n; ++i) x[i] = pcm::read16(in + 2 * i) * kFromPcm16;
            break;
        case 24:
            for (int i = 0; i < n; ++i) x[i] = pcm::read24High(in + 3 * i) * kFromPcm32;
            break;
        case 32:
            for (int i = 0; i < n; ++i) x[i] = pcm::read32(in + 4 * i) * kFromPcm32;
            break;
    }
}

void doublesToPcm(int bits, const double* x, unsigned char* out, int k) {
    switch (bits) {
        case 16:
            for (int i = 0; i < k; ++i)
                pcm::write16(out + 2 * i,
                             clamp(truncateToInt64(x[i] * kToPcm16), INT16_MIN, INT16_MAX));
            break;
        case 24:
            for (int i = 0; i < k; ++i) pcm::write24(out + 3 * i, truncateToInt64(x[i] * kToPcm24));
            break;
        case 32:
            for (int i = 0; i < k; ++i)
                pcm::write32(out + 4 * i,
                             clamp(truncateToInt64(x[i] * kToPcm32), INT32_MIN, INT32_MAX));
            break;
    }
}

// Makes sure `*buffer` holds `samples` doubles, replacing it by one of twice
// that size if not. Keeps the old buffer and answers false when memory runs
// out.
bool growToHold(RealAudioBuffer** buffer, int samples) {
    if (*buffer != nullptr && samples <= (*buffer)->capacity) return true;
    auto* grown = new (std::nothrow) RealAudioBuffer(2 * samples, 0, 0);
    if (grown == nullptr) return false;
    if (grown->capacity != 2 * samples) {
        delete grown;
        return false;
    }
    delete *buffer;
    *buffer = grown;
    return true;
}

}  // namespace

DataTypeConversionFilter::DataTypeConversionFilter(RealAudioFilter* filter)
    : wrapped(filter),
      inBuffer(new (std::nothrow) RealAudioBuffer(1, 0, 0)),
      outBuffer(new (std::nothrow) RealAudioBuffer(1, 0, 0)) {}

DataTypeConversionFilter::~DataTypeConversionFilter() {
    delete inBuffer;
    delete outBuffer;
}

const char* DataTypeConversionFilter::getName() const { return "IntDataTypeConversionFilter"; }

int DataTypeConversionFilter::setParamData(unsigned long id, const void* block, int size) {
    return wrapped->setParamData(id, block, size);
}

int DataTypeConversionFilter::getParamData(unsigned long id, void* block, int size) {
    return wrapped->getParamData(id, block, size);
}

void DataTypeConversionFilter::reset() { wrapped->reset(); }

int DataTypeConversionFilter::process(int inRate, int inBits, const void* in, int inBytes,
                                      int outRate, int outBits, void* out, int outCapacity) {
    if (!pcm::isSupportedDepth(inBits) || !pcm::isSupportedDepth(outBits)) return -1;
    if (inRate <= 0 || outRate <= 0 || inBytes < 0) return -1;
    const int n = inBytes / (inBits / 8);
    const int64_t m = static_cast<int64_t>(n) * outRate / inRate;
    if (outBits / 8 * m > outCapacity) return -1;
    if (!growToHold(&inBuffer, n) || !growToHold(&outBuffer, static_cast<int>(m))) return -1;

    inBuffer->sampleRate = inRate;
    inBuffer->bitsPerSample = inBits;
    outBuffer->sampleRate = outRate;
    outBuffer->bitsPerSample = outBits;
    pcmToDoubles(inBits, static_cast<const unsigned char*>(in), inBuffer->data, n);
    inBuffer->length = n;
    outBuffer->length = 0;

    // A failing wrapped filter leaves no output, which is not an error here.
    wrapped->process(inBuffer, outBuffer);

    const int k = outBuffer->length;
    if (k < 1) return 0;
    const int d = outBuffer->bitsPerSample;
    if (!pcm::isSupportedDepth(d) || k > outBuffer->capacity) return -1;
    const int64_t bytes = static_cast<int64_t>(d / 8) * k;
    if (bytes > outCapacity) return -1;
    doublesToPcm(d, outBuffer->data, static_cast<unsigned char*>(out), k);
    return static_cast<int>(bytes);
}
