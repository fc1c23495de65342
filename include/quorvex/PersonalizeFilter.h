#ifndef QUORVEX_PERSONALIZEFILTER_H
#define QUORVEX_PERSONALIZEFILTER_H

#include <quorvex/AudioFilter.h>
#include <quorvex/ParamBlocks.h>
#include <quorvex/export.h>

// Listener correction: one host-designed section per channel, each channel
// with its own coefficients, at 88.2 and 96 kHz; 44.1 and 48 kHz pass
// unchanged. Parameter block pUAC / mUa1, 104 bytes:
//   0 magic (uint32)  4 enabled (byte)  5 padding (3 bytes, kept)
//   8 left, 56 right: a0, a1, a2, b0, b1, b2 (doubles, each in [-1000, 1000])
// A set describes (b0 + b1 z^-1 + b2 z^-2) / (1 - a1 z^-1 - a2 z^-2); a0 is
// kept but never used. The coefficients in force and the histories are
// shared by every instance: the last construction, reset or accepted block
// decides for all.
class QUORVEX_API PersonalizeFilter : public RealAudioFilter {
public:
    PersonalizeFilter();
    ~PersonalizeFilter() override;

    const char* getName() override;
    int setParamData(unsigned long id, const void* block, int size) override;
    int getParamData(unsigned long id, void* block, int size) override;
    void reset() override;
    int process(const RealAudioBuffer* in, RealAudioBuffer* out) override;

private:
    unsigned char params[quorvex::personalizer_block::kSize];
};

// One stereo frame through the two channels' sections, at 88.2 or 96 kHz.
// The histories persist for the life of the process.
QUORVEX_API void personalizer_96k(double left, double right, double* outLeft, double* outRight);

#endif
