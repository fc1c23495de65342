#include <quorvex/UpSamplingFilter.h>
#include <quorvex/Velmo.h>

#include <quorvex/ParamBlocks.h>

#include <climits>
#include <cstdint>
#include <cstring>

#include "framework/ParamBlock.h"
#include "rate/velmo/VelmoBlocks.h"

using paramblock::fieldAt;
using paramblock::putField;

namespace {

namespace layout = quorvex::velmo_block;

constexpr paramblock::BlockLayout kBlock = {layout::kId, layout::kMagic, layout::kSize,
                                            layout::kSize};

// The fields past the magic, which the shared screening has checked.
bool isValidBlock(const unsigned char* block) {
    if (fieldAt<uint32_t>(block, layout::kBlockSize) != static_cast<uint32_t>(layout::kSize))
        return false;
    if (fieldAt<uint32_t>(block, layout::kEndMagicOffset) != layout::kEndMagic) return false;
    const int32_t mode = fieldAt<int32_t>(block, layout::kMode);
    return mode == layout::kModeSuper || mode == layout::kModeFine;
}

// Only these three fields shape the signal; a block equal in them changes nothing.
bool sameSettings(const unsigned char* a, const unsigned char* b) {
    return a[layout::kEnabled] == b[layout::kEnabled] &&
           a[layout::kMp3Source] == b[layout::kMp3Source] &&
           fieldAt<int32_t>(a, layout::kMode) == fieldAt<int32_t>(b, layout::kMode);
}

// The pre-emphasis section for a source of `bits` at `rate`, or null where
// the enhancer has none.
VelmoStereoStep preEmphasis(int bits, int rate, bool fine) {
    if (rate == 44100) {
        if (bits == 16) return fine ? Velmo_Fine_44K_16 : Velmo_Super_44K_16;
        if (bits == 24) return fine ? Velmo_Fine_44K_24 : Velmo_Super_44K_24;
    } else if (rate == 48000) {
        if (bits == 16) return fine ? Velmo_Fine_48K_16 : Velmo_Super_48K_16;
        if (bits == 24) return fine ? Velmo_Fine_48K_24 : Velmo_Super_48K_24;
    }
    return nullptr;
}

VelmoKernel enhancer(bool mp3, bool shortHighBand) {
    if (mp3) return shortHighBand ? VelmoKernel::kMP332 : VelmoKernel::kMP3;
    return shortHighBand ? VelmoKernel::kCD32 : VelmoKernel::kCD;
}

}  // namespace

UpSamplingFilter::UpSamplingFilter() : params{}, upSampler32(false) {
    putField<uint32_t>(params, quorvex::kMagicOffset, layout::kMagic);
    putField<uint32_t>(params, layout::kBlockSize, layout::kSize);
    params[layout::kEnabled] = 0;
    params[layout::kMp3Source] = 0;
    putField<int32_t>(params, layout::kMode, layout::kModeSuper);
    putField<uint32_t>(params, layout::kEndMagicOffset, layout::kEndMagic);
    VelmoInit();
}

UpSamplingFilter::~UpSamplingFilter() = default;

const char* UpSamplingFilter::getName() { return "Velmo"; }

int UpSamplingFilter::setParamData(unsigned long id, const void* block, int size) {
    return paramblock::acceptBlock(kBlock, id, block, size, isValidBlock,
                                   [this](const unsigned char* bytes) {
                                       // An unchanged setting keeps the stream running
                                       // without a break.
                                       if (sameSettings(bytes, params)) return;
                                       std::memcpy(params, bytes, sizeof params);
                                       reset();
                                   });
}

int UpSamplingFilter::getParamData(unsigned long id, void* block, int size) {
    return paramblock::copyBlockOut(kBlock, id, block, size, params);
}

void UpSamplingFilter::reset() { VelmoInit(); }

void UpSamplingFilter::setUseUpSampler32(bool use) { upSampler32 = use; }

bool UpSamplingFilter::useUpSampler32() const { return upSampler32; }

int UpSamplingFilter::process(const RealAudioBuffer* in, RealAudioBuffer* out) {
    const int n = in->length;
    const int rate = in->sampleRate;
    if (n < 0 || 2 * static_cast<long long>(n) > out->capacity) return -1;
    if (rate > INT_MAX / 2 || rate < INT_MIN / 2) return -1;  // no twice the rate to report

    const int frames = n / 2;
    const bool fine = fieldAt<int32_t>(params, layout::kMode) == layout::kModeFine;
    const VelmoStereoStep section = preEmphasis(in->bitsPerSample, rate, fine);
    // Rates and depths without a pre-emphasis section are interpolated plainly.
    if (params[layout::kEnabled] == 0 || section == nullptr) {
        VelmoInterpolateBlock(in->data, out->data, frames);
    } else {
        const bool shortHighBand = upSampler32 && in->bitsPerSample == 16 && rate == 48000;
        VelmoEnhanceBlock(enhancer(params[layout::kMp3Source] != 0, shortHighBand), section,
                          in->data, out->data, frames);
    }

    out->length = 2 * n;
    out->sampleRate = 2 * rate;
    out->bitsPerSample = layout::kOutputBits;
    return 0;
}
