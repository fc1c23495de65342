#ifndef QUORVEX_REALAUDIOBUFFER_H
#define QUORVEX_REALAUDIOBUFFER_H

#include <quorvex/export.h>

// A block of interleaved double samples, full scale +-1.0. Frame i is
// data[2i] (left) and data[2i+1] (right); `length` counts doubles of all
// channels together.
class QUORVEX_API RealAudioBuffer {
public:
    bool ownsData;
    double* data;
    int capacity;
    int length;
    int channels;
    int sampleRate;
    int bitsPerSample;

    // An empty buffer that owns nothing.
    RealAudioBuffer();
    // A buffer that owns a fresh, uninitialised array of `capacity` doubles.
    // If the array cannot be allocated, `data` is null and `capacity` is 0.
    RealAudioBuffer(int capacity, int sampleRate, int bitsPerSample);
    // A view over a caller's array; the array stays the caller's.
    RealAudioBuffer(double* data, int capacity, int length, int sampleRate, int bitsPerSample);
    virtual ~RealAudioBuffer();

    RealAudioBuffer(const RealAudioBuffer&) = delete;
    RealAudioBuffer& operator=(const RealAudioBuffer&) = delete;

    // A new owned buffer as large as this one's array, holding a copy of the
    // first `length` doubles and the same format fields. The caller deletes
    // it. Returns null when memory runs out.
    RealAudioBuffer* copyBuffer() const;
};

#endif
