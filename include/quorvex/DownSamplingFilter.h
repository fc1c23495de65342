#ifndef QUORVEX_DOWNSAMPLINGFILTER_H
#define QUORVEX_DOWNSAMPLINGFILTER_H

#include <quorvex/AudioFilter.h>
#include <quorvex/export.h>

// Halves the rate of a stereo stream: a 65-tap linear-phase low-pass designed
// for 96 kHz in, then every second frame, starting afresh with frame 0 of
// each block. Any input rate is halved with the same filter. The filter
// history is shared by every instance and never cleared, so a new stream
// starts with the tail of the previous one. An odd frame count keeps the left
// value of the last kept frame only, so nothing lands past `length`.
class QUORVEX_API DownSamplingFilter : public RealAudioFilter {
public:
    DownSamplingFilter(int inBits, int outBits);
    ~DownSamplingFilter() override;

    const char* getName() override;
    int setParamData(unsigned long id, const void* block, int size) override;
    int getParamData(unsigned long id, void* block, int size) override;
    // Leaves the filter history as it is.
    void reset() override;
    int process(const RealAudioBuffer* in, RealAudioBuffer* out) override;

private:
    [[maybe_unused]] int inBits;
    int outBits;
};

#endif
