#include <quorvex/SurroundFilter.h>

#include <quorvex/ParamBlocks.h>

#include <cstring>

#include "effects/common/StereoFrames.h"
#include "framework/ParamBlock.h"

namespace {

namespace layout = quorvex::surround_block;

constexpr paramblock::BlockLayout kBlock = {layout::kId, layout::kMagic, layout::kSize,
                                            layout::kSize};

using Kernel = void (*)(double, double, double*, double*);

// The flag travels as a raw byte: a host may send any nonzero value, which
// is not a valid bool object, so it is only ever read as a byte.
unsigned char enabledByte(const SurroundConfigParams& p) {
    unsigned char byte;
    std::memcpy(&byte, &p.enabled, 1);
    return byte;
}

// False for NaN.
bool isGain(double g) { return g >= layout::kGainMin && g <= layout::kGainMax; }

bool isHallLength(int32_t m, int32_t max) { return m >= layout::kHallLengthMin && m <= max; }

SurroundConfigParams recordOf(const unsigned char* block) {
    SurroundConfigParams p;
    std::memcpy(&p, block, sizeof p);
    return p;
}

bool hasValidFields(const unsigned char* block) { return recordOf(block).isValid(); }

SurroundConfigParams defaultParams() {
    SurroundConfigParams p;
    std::memset(&p, 0, sizeof p);
    p.magic = layout::kMagic;
    p.enabled = false;
    p.emode = 1;
    p.hall_m1 = 4228;
    p.hall_m2 = 3854;
    p.hall_m3 = 2730;
    p.hall_ga1 = 0.7;
    p.hall_ga2 = 0.8;
    p.egain_hall = 0.5;
    p.egain_natural = 0.5;
    p.egain_wide = 0.5;
    p.egain_3d = 0.5;
    p.egain_echo = 0.5;
    p.ga_live = 0.5;
    p.gc_live = 0.5;
    p.ga_3d = 0.7;
    p.gm_3d = 0.3333;
    return p;
}

Kernel kernelFor(int sampleRate) {
    switch (sampleRate) {
        case 44100:
        case 48000: return Surround_44k;
        case 88200:
        case 96000: return Surround_88k;
        default: return nullptr;
    }
}

}  // namespace

bool SurroundConfigParams::isValid() const {
    return magic == layout::kMagic && isGain(egain_hall) && isGain(egain_natural) &&
           isGain(egain_wide) && isGain(egain_3d) && isGain(egain_echo) &&
           isHallLength(hall_m1, layout::kHallM1Max) && isHallLength(hall_m2, layout::kHallM2Max) &&
           isHallLength(hall_m3, layout::kHallM3Max) && isGain(ga_live) && isGain(gc_live) &&
           isGain(hall_ga1) && isGain(hall_ga2) && isGain(ga_3d) && isGain(gm_3d);
}

bool SurroundConfigParams::isEqual(SurroundConfigParams& other) const {
    return magic == other.magic && enabledByte(*this) == enabledByte(other) &&
           emode == other.emode && hall_m1 == other.hall_m1 && hall_m2 == other.hall_m2 &&
           hall_m3 == other.hall_m3 && hall_ga1 == other.hall_ga1 && hall_ga2 == other.hall_ga2 &&
           egain_hall == other.egain_hall && egain_natural == other.egain_natural &&
           egain_wide == other.egain_wide && egain_3d == other.egain_3d &&
           egain_echo == other.egain_echo && ga_live == other.ga_live && gc_live == other.gc_live &&
           ga_3d == other.ga_3d && gm_3d == other.gm_3d;
}

SurroundFilter::SurroundFilter() : params(defaultParams()) { SurroundInit(params); }

SurroundFilter::~SurroundFilter() = default;

const char* SurroundFilter::getName() { return "Surround"; }

int SurroundFilter::setParamData(unsigned long id, const void* block, int size) {
    return paramblock::acceptBlock(kBlock, id, block, size, hasValidFields,
                                   [this](const unsigned char* bytes) {
                                       SurroundConfigParams incoming = recordOf(bytes);
                                       // Resending the current settings must not break the sound.
                                       if (params.isEqual(incoming)) return;
                                       std::memcpy(&params, &incoming, sizeof params);
                                       reset();
                                   });
}

int SurroundFilter::getParamData(unsigned long id, void* block, int size) {
    return paramblock::copyBlockOut(kBlock, id, block, size, &params);
}

void SurroundFilter::reset() { SurroundInit(params); }

int SurroundFilter::process(const RealAudioBuffer* in, RealAudioBuffer* out) {
    const int n = in->length;
    if (n > out->capacity) return -1;
    const int frames = n / 2;
    const double* x = in->data;
    double* y = out->data;

    // An unpaired last double belongs to no frame and is never written.
    const Kernel kernel = enabledByte(params) != 0 ? kernelFor(in->sampleRate) : nullptr;
    if (kernel != nullptr) {
        for (int f = 0; f < frames; ++f) kernel(x[2 * f], x[2 * f + 1], &y[2 * f], &y[2 * f + 1]);
    } else if (frames > 0) {
        std::memcpy(y, x, static_cast<size_t>(frames) * 2 * sizeof(double));
    }

    effects::finishBlock(*in, *out);
    return 0;
}
