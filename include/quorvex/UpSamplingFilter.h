#ifndef QUORVEX_UPSAMPLINGFILTER_H
#define QUORVEX_UPSAMPLINGFILTER_H

#include <quorvex/AudioFilter.h>
#include <quorvex/ParamBlocks.h>
#include <quorvex/export.h>

// Doubles the sample rate of an interleaved stereo block and declares the
// result 24-bit. With the enhancer off it interpolates at any rate; with it on
// (44100 or 48000 Hz, 16- or 24-bit sources) each input frame passes a
// pre-emphasis section and an enhancer kernel that adds synthesised content
// above the source's band. Enhancer on at any other rate or depth falls back
// to plain interpolation. All signal history is process-wide (see Velmo.h):
// constructing, resetting or reconfiguring one instance clears the FIR
// history under every other.
// Parameter block pVLC / mVLC, 20 bytes:
//   0 magic (uint32)  4 blockSize (uint32, 20)  8 enabled (byte)
//   9 mp3Source (byte)  10 reserved (2 bytes)  12 mode (int32, 1 Super, 2 Fine)
//   16 endMagic (uint32, the magic's bytes reversed)
class QUORVEX_API UpSamplingFilter : public RealAudioFilter {
public:
    UpSamplingFilter();
    ~UpSamplingFilter() override;

    const char* getName() override;
    int setParamData(unsigned long id, const void* block, int size) override;
    int getParamData(unsigned long id, void* block, int size) override;
    void reset() override;
    int process(const RealAudioBuffer* in, RealAudioBuffer* out) override;

    // With it set, 16-bit input at 48000 Hz uses the enhancers with the
    // 33-tap high band. Off after construction; neither the parameter block
    // nor reset touches it.
    void setUseUpSampler32(bool use);
    bool useUpSampler32() const;

private:
    unsigned char params[quorvex::velmo_block::kSize];
    bool upSampler32;
};

#endif
