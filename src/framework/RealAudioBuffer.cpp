#include <quorvex/AFUtil.h>
#include <quorvex/RealAudioBuffer.h>

#include <climits>
#include <new>

RealAudioBuffer::RealAudioBuffer()
    : ownsData(false),
      data(nullptr),
      capacity(0),
      length(0),
      channels(2),
      sampleRate(0),
      bitsPerSample(0) {}

RealAudioBuffer::RealAudioBuffer(int capacity, int sampleRate, int bitsPerSample)
    : ownsData(true),
      data(nullptr),
      capacity(0),
      length(0),
      channels(2),
      sampleRate(sampleRate),
      bitsPerSample(bitsPerSample) {
    // AFMalloc takes its size as an int.
    if (capacity < 0 || capacity > INT_MAX / static_cast<int>(sizeof(double))) return;
    data = static_cast<double*>(AFMalloc(capacity * static_cast<int>(sizeof(double))));
    if (data != nullptr) this->capacity = capacity;
}

RealAudioBuffer::RealAudioBuffer(double* data, int capacity, int length, int sampleRate,
                                 int bitsPerSample)
    : ownsData(false),
      data(data),
      capacity(capacity),
      length(length),
      channels(2),
      sampleRate(sampleRate),
      bitsPerSample(bitsPerSample) {}

RealAudioBuffer::~RealAudioBuffer() {
    if (ownsData) AFFree(data);
}

RealAudioBuffer* RealAudioBuffer::copyBuffer() const {
    // A length beyond the array is a caller's error; copying it would read
    // past the source and write past the copy.
    if (length > capacity) return nullptr;
    auto* copy = new (std::nothrow) RealAudioBuffer(capacity, sampleRate, bitsPerSample);
    if (copy == nullptr) return nullptr;
    if (copy->capacity != capacity) {
        delete copy;
        return nullptr;
    }
    copy->length = length;
    copy->channels = channels;
    if (length > 0) AFMemCopy(copy->data, data, length * static_cast<int>(sizeof(double)));
    return copy;
}
