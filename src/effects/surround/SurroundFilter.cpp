#include <quorvex/SurroundFilter.h>

#include <cstring>

#include "effects/common/StereoFrames.h"
#include "framework/ParamBlock.h"

namespace {

constexpr uint32_t kMagic = 0x6D535235;  // mSR5
constexpr int kBlockSize = static_cast<int>(sizeof(SurroundConfigParams));
constexpr paramblock::BlockLayout kBlock = {0x70535252, kMagic, kBlockSize, kBlockSize};  // pSRR

constexpr int32_t kMinHallLength = 17;
constexpr int32_t kMaxHallM1 = 8456;
constexpr int32_t kMaxHallM2 = 7708;
constexpr int32_t kMaxHallM3 = 5460;

using Kernel = void (*)(double, double, double*, double*);

// The flag travels as a raw byte: a host may send any nonzero value, which
// is not a valid bool object, so it is only ever read as a byte.
unsigned char enabledByte(const SurroundConfigParams& p) {
    unsigned char byte;
    std::memcpy(&byte, &p.enabled, 1);
    return byte;
}

bool isGain(double g) { return g >= 0.0 && g <= 1.0; }  // false for NaN

bool isHallLength(int32_t m, int32_t max) { return m >= kMinHallLength && m <= max; }

SurroundConfigParams defaultParams() {
    SurroundConfigParams p;
    std::memset(&p, 0, sizeof p);
    p.magic = kMagic;
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
        case 48000:
            return Surround_44k;
        case 88200:
        case 96000:
            return Surround_88k;
        default:
            return nullptr;
    }
}

}  // namespace

bool SurroundConfigParams::isValid() const {
    return magic == kMagic && isGain(egain_hall) && isGain(egain_natural) &&
           isGain(egain_wide) && isGain(egain_3d) && isGain(egain_echo) &&
           isHallLength(hall_m1, kMaxHallM1) && isHallLength(hall_m2, kMaxHallM2) &&
           isHallLength(hall_m3, kMaxHallM3) && isGain(ga_live) && isGain(gc_live) &&
           isGain(hall_ga1) && isGain(hall_ga2) && isGain(ga_3d) && isGain(gm_3d);
}

bool SurroundConfigParams::isEqual(SurroundConfigParams& other) const {
    return magic == other.magic && enabledByte(*this) == enabledByte(other) &&
           emode == other.emode && hall_m1 == other.hall_m1 && hall_m2 == other.hall_m2 &&
           hall_m3 == other.hall_m3 && hall_ga1 == other.hall_ga1 &&
           hall_ga2 == other.hall_ga2 && egain_hall == other.egain_hall &&
           egain_natural == other.egain_natural && egain_wide == other.egain_wide &&
           egain_3d == other.egain_3d && egain_echo == other.egain_echo &&
           ga_live == other.ga_live && gc_live == other.gc_live && ga_3d == other.ga_3d &&
           gm_3d == other.gm_3d;
}

SurroundFilter::SurroundFilter() : params(defaultParams()) { SurroundInit(params); }

SurroundFilter::~SurroundFilter() = default;

const char* SurroundFilter::getName() { return "Surround"; }

int SurroundFilter::setParamData(unsigned long id, const void* block, int size) {
    int answer;
    const unsigned char* bytes = paramblock::screenBlock(kBlock, id, block, size, &answer);
    if (bytes == nullptr) return answer;
    SurroundConfigParams incoming;
    std::memcpy(&incoming, bytes, kBlockSize);
    if (!incoming.isValid()) return -1;
    // Resending the current settings must not break the sound.
    if (params.isEqual(incoming)) return kBlockSize;
    std::memcpy(&params, &incoming, kBlockSize);
    reset();
    return kBlockSize;
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
