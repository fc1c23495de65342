#include <quorvex/DataTypeConversionFilter.h>

#include <cstdint>
#include <new>

#include "pcm/PcmConversion.h"
#include "pcm/PcmSamples.h"

namespace {

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
    pcm::toDoubles(inBits, static_cast<const unsigned char*>(in), inBuffer->data, n);
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
    pcm::fromDoubles(d, outBuffer->data, static_cast<unsigned char*>(out), k);
    return static_cast<int>(bytes);
}
