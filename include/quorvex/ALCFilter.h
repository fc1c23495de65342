#ifndef QUORVEX_ALCFILTER_H
#define QUORVEX_ALCFILTER_H

#include <quorvex/AudioFilter.h>
#include <quorvex/ParamBlocks.h>
#include <quorvex/export.h>

// Automatic level control: keeps every sample within full scale. Mode 1
// limits sample by sample with a gain that only falls; mode 2 scales both
// channels of a frame by one gain and lets the gain recover at block ends.
// Parameter block pALC / mAL1, 20 bytes:
//   0 magic (uint32)  4 enabled (byte)  5 flag (byte)  6 reserved (2 bytes)
//   8 mode (int32, 1 or 2)  12 recovery (double, 0.0 to 1.0)
class QUORVEX_API ALCFilter : public RealAudioFilter {
public:
    ALCFilter();
    ~ALCFilter() override;

    const char* getName() override;
    int setParamData(unsigned long id, const void* block, int size) override;
    int getParamData(unsigned long id, void* block, int size) override;
    void reset() override;
    int process(const RealAudioBuffer* in, RealAudioBuffer* out) override;

private:
    unsigned char params[quorvex::alc_block::kSize];
    double gain;
};

// One frame of linked stereo limiting: both samples are scaled by the gain
// left after testing left, then right.
QUORVEX_API void ALC_doALC(double left, double right, double* outLeft, double* outRight,
                           double* gain);

#endif
