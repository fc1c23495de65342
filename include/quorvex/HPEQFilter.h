#ifndef QUORVEX_HPEQFILTER_H
#define QUORVEX_HPEQFILTER_H

#include <quorvex/AudioFilter.h>
#include <quorvex/ParamBlocks.h>
#include <quorvex/export.h>

#include <cstddef>
#include <cstdint>

// Parameter record of the headphone equalizer, pPAC / mPA1, 152 bytes. Each
// coefficient set describes (b0 + b1 z^-1 + b2 z^-2) / (1 - a1 z^-1 - a2 z^-2);
// a0 is kept but never used. Every coefficient lies in [-1000, 1000].
struct PhoneAdaptationConfigParams {
    struct CoefficientSet {
        double a0, a1, a2, b0, b1, b2;
    };
    uint32_t magic;             // 0x6D504131
    unsigned char enabled;      // 0: copy the input through
    unsigned char padding[3];   // kept as given
    CoefficientSet section[3];  // run in this order
};
static_assert(sizeof(PhoneAdaptationConfigParams) == quorvex::hpeq_block::kSize, "block size");
static_assert(offsetof(PhoneAdaptationConfigParams, magic) == quorvex::kMagicOffset,
              "block layout");
static_assert(offsetof(PhoneAdaptationConfigParams, enabled) == quorvex::hpeq_block::kEnabled,
              "block layout");
static_assert(offsetof(PhoneAdaptationConfigParams, section) == quorvex::hpeq_block::kSections,
              "block layout");
static_assert(sizeof(PhoneAdaptationConfigParams::section) ==
                  quorvex::hpeq_block::kSectionCount * quorvex::coefficient_set::kSize,
              "block layout");
static_assert(offsetof(PhoneAdaptationConfigParams::CoefficientSet, a0) ==
                  quorvex::coefficient_set::kA0,
              "coefficient set layout");
static_assert(offsetof(PhoneAdaptationConfigParams::CoefficientSet, a1) ==
                  quorvex::coefficient_set::kA1,
              "coefficient set layout");
static_assert(offsetof(PhoneAdaptationConfigParams::CoefficientSet, a2) ==
                  quorvex::coefficient_set::kA2,
              "coefficient set layout");
static_assert(offsetof(PhoneAdaptationConfigParams::CoefficientSet, b0) ==
                  quorvex::coefficient_set::kB0,
              "coefficient set layout");
static_assert(offsetof(PhoneAdaptationConfigParams::CoefficientSet, b1) ==
                  quorvex::coefficient_set::kB1,
              "coefficient set layout");
static_assert(offsetof(PhoneAdaptationConfigParams::CoefficientSet, b2) ==
                  quorvex::coefficient_set::kB2,
              "coefficient set layout");

// Headphone equalizer: three host-designed sections per channel, the same for
// both channels, at 88.2 and 96 kHz; 44.1 and 48 kHz pass unchanged. The
// coefficients in force and the section histories are shared by every
// instance: the last construction, reset or accepted block decides for all.
class QUORVEX_API HPEQFilter : public RealAudioFilter {
public:
    HPEQFilter();
    ~HPEQFilter() override;

    const char* getName() override;
    int setParamData(unsigned long id, const void* block, int size) override;
    int getParamData(unsigned long id, void* block, int size) override;
    void reset() override;
    int process(const RealAudioBuffer* in, RealAudioBuffer* out) override;

private:
    PhoneAdaptationConfigParams params;
};

// Loads the record's three coefficient sets as the ones every HPEQ_3F call
// uses. Checks nothing.
QUORVEX_API void HPEQInit(const PhoneAdaptationConfigParams& params);

// One stereo frame through the three sections. The section histories persist
// for the life of the process.
QUORVEX_API void HPEQ_3F(double left, double right, double* outLeft, double* outRight);

#endif
