#ifndef QUORVEX_RESAMPLINGFILTER_H
#define QUORVEX_RESAMPLINGFILTER_H

#include <quorvex/AudioFilter.h>
#include <quorvex/export.h>

// Converts a stereo stream to a fixed output rate through a Kaiser-windowed
// sinc low-pass at the least common multiple of the two rates, computing only
// the products that can be nonzero. The input rate follows the blocks: a block
// at a new rate sets the converter up again for it.
//
// The converter (filter table, a 65536-frame input ring, window positions) is
// shared by every instance: building, resetting or feeding another instance
// at another rate reconfigures it for all of them. The output of a stream is
// floor(total input frames x output rate / input rate) frames whatever the
// block sizes, and it lags the input by 4096 intermediate-rate samples.
class QUORVEX_API ReSamplingFilter : public RealAudioFilter {
public:
    ReSamplingFilter(int inRate, int inBits, int outRate, int outBits);
    ~ReSamplingFilter() override;

    const char* getName() override;
    int setParamData(unsigned long id, const void* block, int size) override;
    int getParamData(unsigned long id, void* block, int size) override;
    // Sets the converter up again for the current rates and clears its history.
    void reset() override;
    // Returns -1, writing nothing, when the rates have never had a usable
    // common multiple or `out` holds fewer doubles than the block yields.
    int process(const RealAudioBuffer* in, RealAudioBuffer* out) override;

private:
    int inRate;
    [[maybe_unused]] int inBits;
    int outRate;
    int outBits;
};

// Sets the shared converter up for a rate pair and clears its history.
// Returns 0, or -1 (nothing changed) when the rates are not positive or have
// no common multiple within 1023 multiples of the larger one.
QUORVEX_API int ReSamplingFilterInit(int inRate, int outRate);

// Appends the inLength / 2 stereo frames at `in` to the converter's history
// and writes every output frame they complete to `out`, which has room for
// outSize doubles. Returns the number of doubles written, or -1 with nothing
// changed when the block has more than 32768 frames, its output would not fit
// or no rate pair has been set up.
QUORVEX_API int ReSamplingFilterProcess(int inLength, const double* in, int outSize, double* out);

#endif
