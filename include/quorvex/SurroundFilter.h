#ifndef QUORVEX_SURROUNDFILTER_H
#define QUORVEX_SURROUNDFILTER_H

#include <quorvex/AudioFilter.h>
#include <quorvex/ParamBlocks.h>
#include <quorvex/export.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>

// Parameter block pSRR / mSR5 of the surround effect, 112 bytes. Doubles are
// gains in [0.0, 1.0]; hall lengths are in samples at 88.2/96 kHz and halved
// at 44.1/48 kHz. Bits of `emode`: 0x01 hall, 0x02 natural, 0x04 live,
// 0x08 wide, 0x10 echo, 0x20 3d; the stages run in that order.
struct QUORVEX_API SurroundConfigParams {
    uint32_t magic;             // 0x6D535235
    bool enabled;               // any nonzero byte switches the effect on
    unsigned char reserved[3];  // carried, never examined
    int32_t emode;              // stage bits, other bits ignored
    int32_t hall_m1;            // 17 to 8456
    int32_t hall_m2;            // 17 to 7708
    int32_t hall_m3;            // 17 to 5460
    double hall_ga1;            // all-pass gain of the hall's first pass
    double hall_ga2;            // all-pass gain of the hall's second pass
    double egain_hall;          // hall mix 0.35 * g + 0.25
    double egain_natural;       // natural comb feedback 0.125 * g + 0.125
    double egain_wide;          // wide all-pass gain 0.25 * g + 0.25
    double egain_3d;            // 3d mix gain
    double egain_echo;          // echo level
    double ga_live;             // carried, has no effect on the sound
    double gc_live;             // live comb feedback 0.25 * g + 0.25
    double ga_3d;               // 3d all-pass gain
    double gm_3d;               // carried, has no effect on the sound

    // Magic right, gains in [0.0, 1.0] (NaN refused), hall lengths in range.
    bool isValid() const;
    // Integers and the enabled byte equal, doubles numerically equal (0.0 ==
    // -0.0); the reserved bytes are not compared.
    bool isEqual(SurroundConfigParams& other) const;
};

static_assert(std::is_standard_layout<SurroundConfigParams>::value, "plain record");
static_assert(std::is_trivially_copyable<SurroundConfigParams>::value, "plain record");
static_assert(sizeof(SurroundConfigParams) == quorvex::surround_block::kSize, "block size");
static_assert(offsetof(SurroundConfigParams, magic) == quorvex::kMagicOffset, "block layout");
static_assert(offsetof(SurroundConfigParams, enabled) == quorvex::kEnabledOffset, "block layout");
static_assert(offsetof(SurroundConfigParams, reserved) == 5, "block layout");
static_assert(offsetof(SurroundConfigParams, emode) == 8, "block layout");
static_assert(offsetof(SurroundConfigParams, hall_m1) == 12, "block layout");
static_assert(offsetof(SurroundConfigParams, hall_m2) == 16, "block layout");
static_assert(offsetof(SurroundConfigParams, hall_m3) == 20, "block layout");
static_assert(offsetof(SurroundConfigParams, hall_ga1) == 24, "block layout");
static_assert(offsetof(SurroundConfigParams, hall_ga2) == 32, "block layout");
static_assert(offsetof(SurroundConfigParams, egain_hall) == 40, "block layout");
static_assert(offsetof(SurroundConfigParams, egain_natural) == 48, "block layout");
static_assert(offsetof(SurroundConfigParams, egain_wide) == 56, "block layout");
static_assert(offsetof(SurroundConfigParams, egain_3d) == 64, "block layout");
static_assert(offsetof(SurroundConfigParams, egain_echo) == 72, "block layout");
static_assert(offsetof(SurroundConfigParams, ga_live) == 80, "block layout");
static_assert(offsetof(SurroundConfigParams, gc_live) == 88, "block layout");
static_assert(offsetof(SurroundConfigParams, ga_3d) == 96, "block layout");
static_assert(offsetof(SurroundConfigParams, gm_3d) == 104, "block layout");

// Hall, natural room, live room, widening, echo and 3D image over a stereo
// stream at 44.1, 48, 88.2 and 96 kHz. Stage bits, gains, delay lines and
// positions are process-wide and shared by every instance: constructing,
// resetting or re-parameterising any instance reloads them from that
// instance's block and clears the delay lines. Each instance keeps its own
// block and its own `enabled` switch.
class QUORVEX_API SurroundFilter : public RealAudioFilter {
public:
    SurroundFilter();
    ~SurroundFilter() override;

    const char* getName() override;
    int setParamData(unsigned long id, const void* block, int size) override;
    int getParamData(unsigned long id, void* block, int size) override;
    void reset() override;
    int process(const RealAudioBuffer* in, RealAudioBuffer* out) override;

private:
    SurroundConfigParams params;
};

// Loads a block into the shared surround state and clears every delay line
// and position. The tone-shaping history of the natural stage is kept.
QUORVEX_API void SurroundInit(const SurroundConfigParams& params);

// One frame through every stage selected in the shared `emode`: the 44.1 and
// 48 kHz lengths, and the 88.2 and 96 kHz lengths.
QUORVEX_API void Surround_44k(double inL, double inR, double* outL, double* outR);
QUORVEX_API void Surround_88k(double inL, double inR, double* outL, double* outR);

// The natural stage's tone shaping (150 Hz peak, 4 kHz dip, treble shelf),
// three sections per channel with a history that nothing clears. The output
// pointers may alias the caller's input variables.
QUORVEX_API void booster_48k(double inL, double inR, double* outL, double* outR);
QUORVEX_API void booster_96k(double inL, double inR, double* outL, double* outR);

// One stereo frame through a Schroeder all-pass on `line`, in place. Reads and
// overwrites frame *position, then advances it, wrapping to 0 at `delay`.
QUORVEX_API void allpass(double* ioL, double* ioR, double coef, double (*line)[2], int delay,
                         int* position);

#endif
