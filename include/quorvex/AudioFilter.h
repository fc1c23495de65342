#ifndef QUORVEX_AUDIOFILTER_H
#define QUORVEX_AUDIOFILTER_H

#include <quorvex/RealAudioBuffer.h>
#include <quorvex/export.h>

// A filter over blocks of doubles. process returns 0, or -1 when the output
// cannot take the block (nothing is written then). The parameter calls
// return 0 for an identifier that is not the filter's, -1 for a short area or
// an invalid block, otherwise the block size in bytes.
class QUORVEX_API RealAudioFilter {
public:
    virtual ~RealAudioFilter();
    virtual const char* getName() = 0;
    virtual int setParamData(unsigned long id, const void* block, int size) = 0;
    virtual int getParamData(unsigned long id, void* block, int size) = 0;
    virtual void reset() = 0;
    virtual int process(const RealAudioBuffer* in, RealAudioBuffer* out) = 0;
};

// A filter over interleaved stereo integer PCM (16, 24 or 32 bits,
// little-endian). process returns the number of output bytes, or -1.
class QUORVEX_API IntAudioFilter {
public:
    virtual ~IntAudioFilter();
    virtual const char* getName() const = 0;
    virtual int setParamData(unsigned long id, const void* block, int size) = 0;
    virtual int getParamData(unsigned long id, void* block, int size) = 0;
    virtual void reset() = 0;
    virtual int process(int inRate, int inBits, const void* in, int inBytes, int outRate,
                        int outBits, void* out, int outCapacity) = 0;
};

#endif
