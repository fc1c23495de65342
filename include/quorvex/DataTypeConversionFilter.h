#ifndef QUORVEX_DATATYPECONVERSIONFILTER_H
#define QUORVEX_DATATYPECONVERSIONFILTER_H

#include <quorvex/AudioFilter.h>
#include <quorvex/RealAudioBuffer.h>
#include <quorvex/export.h>

// Drives a RealAudioFilter (often a CompositionFilter) with interleaved
// stereo integer PCM of 16, 24 (packed) or 32 bits, little-endian. Input is
// scaled to doubles by 2^-15, 2^-23 and 2^-31; the wrapped filter's output is
// converted back at the depth the filter reports, by 32768 (clamped),
// 8388607 (wrapping, not clamped) or 2^31 (clamped), truncating toward zero.
// Its two sample buffers grow to twice the block that did not fit and never
// shrink, so equal blocks allocate only once. The wrapped filter is not owned.
class QUORVEX_API DataTypeConversionFilter : public IntAudioFilter {
public:
    explicit DataTypeConversionFilter(RealAudioFilter* filter);
    ~DataTypeConversionFilter() override;

    DataTypeConversionFilter(const DataTypeConversionFilter&) = delete;
    DataTypeConversionFilter& operator=(const DataTypeConversionFilter&) = delete;

    const char* getName() const override;
    int setParamData(unsigned long id, const void* block, int size) override;
    int getParamData(unsigned long id, void* block, int size) override;
    void reset() override;
    // Returns the bytes written, 0 when the wrapped filter yields nothing
    // (including when it fails), or -1 without writing when a depth is not
    // 16, 24 or 32, a rate is not positive, `outCapacity` cannot take the
    // output at `outBits` or at the depth the wrapped filter reports, or a
    // buffer could not be grown.
    int process(int inRate, int inBits, const void* in, int inBytes, int outRate, int outBits,
                void* out, int outCapacity) override;

private:
    friend struct DataTypeConversionFilterProbe;

    RealAudioFilter* wrapped;
    RealAudioBuffer* inBuffer;
    RealAudioBuffer* outBuffer;
};

#endif
