#ifndef QUORVEX_SIMPLEUPSAMPLINGFILTER_H
#define QUORVEX_SIMPLEUPSAMPLINGFILTER_H

#include <quorvex/AudioFilter.h>
#include <quorvex/export.h>

// Changes the rate and depth of interleaved stereo integer PCM without going
// through doubles: output frame j repeats input frame floor(j * n / m) (n and
// m the input and output sample counts), with no interpolation or filtering,
// and 16/24-bit depth changes shift bytes (24 to 16 drops the low byte, 16 to
// 24 appends a zero one). The same depth at the same rate is a plain copy,
// whatever the depth. Stateless; no parameters.
class QUORVEX_API SimpleUpSamplingFilter : public IntAudioFilter {
public:
    SimpleUpSamplingFilter();
    ~SimpleUpSamplingFilter() override;

    const char* getName() const override;
    int setParamData(unsigned long id, const void* block, int size) override;
    int getParamData(unsigned long id, void* block, int size) override;
    void reset() override;
    // Returns (outBits / 8) * m, the bytes of m output samples, even where
    // they are not all written: the last sample of an odd m, and frames whose
    // source frame lacks its right sample (an odd n at a raised rate), stay
    // unwritten. Returns -1 without writing when the output area is too
    // small, inRate or inBits (a multiple of 8) is not positive, outRate is
    // negative, or the depths are not 16/24 in and out and the format
    // changes. An outRate of 0 yields no samples. A trailing partial sample
    // of `in` is ignored.
    int process(int inRate, int inBits, const void* in, int inBytes, int outRate, int outBits,
                void* out, int outCapacity) override;
};

#endif
