#ifndef QUORVEX_EQUALIZERFILTER_H
#define QUORVEX_EQUALIZERFILTER_H

#include <quorvex/AudioFilter.h>
#include <quorvex/ParamBlocks.h>
#include <quorvex/export.h>

// Ten-band graphic equalizer at 44.1, 48, 88.2 and 96 kHz. Each band gain
// (-1.0 to 1.0 for -12 to +12 dB) picks one of 25 precomputed sections in
// 1 dB steps; bands 7 to 9 act only at 88.2 and 96 kHz.
// Parameter block pEUQ / mEp2, 92 bytes:
//   0 magic (uint32)  4 enabled (byte)  5 padding (3 bytes, kept)
//   8 gain (double[10], band 0 first)  88 reserved (byte, kept)
//   89 padding (3 bytes, neither stored nor written)
// The band selection and the section histories are shared by every
// equalizer in the process: the last construction, reset or accepted block
// on any instance decides the bands of all of them.
class QUORVEX_API EqualizerFilter : public RealAudioFilter {
public:
    EqualizerFilter();
    ~EqualizerFilter() override;

    const char* getName() override;
    int setParamData(unsigned long id, const void* block, int size) override;
    int getParamData(unsigned long id, void* block, int size) override;
    void reset() override;
    int process(const RealAudioBuffer* in, RealAudioBuffer* out) override;

private:
    unsigned char params[quorvex::equalizer_block::kStoredBytes];
};

// One stereo frame through the sections of the selected band gains, per rate.
// The 44.1 and 48 kHz kernels run bands 0 to 6, the others all ten. Each
// kernel keeps its own history, which nothing ever clears.
QUORVEX_API void equalizer_44k(double left, double right, double* outLeft, double* outRight);
QUORVEX_API void equalizer_48k(double left, double right, double* outLeft, double* outRight);
QUORVEX_API void equalizer_88k(double left, double right, double* outLeft, double* outRight);
QUORVEX_API void equalizer_96k(double left, double right, double* outLeft, double* outRight);

#endif
