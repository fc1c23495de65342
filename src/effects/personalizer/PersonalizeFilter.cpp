#include <quorvex/PersonalizeFilter.h>

#include <quorvex/ParamBlocks.h>

#include <cstdint>
#include <cstring>

#include "dsp/Section.h"
#include "effects/common/StereoFrames.h"
#include "framework/ParamBlock.h"

using paramblock::fieldAt;
using paramblock::putField;

namespace {

namespace layout = quorvex::personalizer_block;
namespace coefficients = quorvex::coefficient_set;

constexpr paramblock::BlockLayout kBlock = {layout::kId, layout::kMagic, layout::kSize,
                                            layout::kSize};

// The sections in force, shared by every PersonalizeFilter; until the first
// filter is made each one passes its input unchanged.
dsp::SectionCoeffs leftSection = {1.0, 0.0, 0.0, 0.0, 0.0};
dsp::SectionCoeffs rightSection = {1.0, 0.0, 0.0, 0.0, 0.0};

// The coefficient set at `offset`; its a0 is never used.
dsp::SectionCoeffs sectionAt(const unsigned char* block, int offset) {
    return {fieldAt<double>(block, offset + coefficients::kB0),
            fieldAt<double>(block, offset + coefficients::kB1),
            fieldAt<double>(block, offset + coefficients::kB2),
            fieldAt<double>(block, offset + coefficients::kA1),
            fieldAt<double>(block, offset + coefficients::kA2)};
}

// Both coefficient sets, which lie back to back.
bool hasValidFields(const unsigned char* block) {
    static_assert(layout::kRight == layout::kLeft + coefficients::kSize, "sets back to back");
    return paramblock::doublesWithin(block, layout::kLeft, 2 * coefficients::kDoubles,
                                     coefficients::kLimit);
}

}  // namespace

void personalizer_96k(double left, double right, double* outLeft, double* outRight) {
    static dsp::SectionHistory<double> leftHistory, rightHistory;  // never cleared
    *outLeft = dsp::runSection(leftSection, leftHistory, left);
    *outRight = dsp::runSection(rightSection, rightHistory, right);
}

PersonalizeFilter::PersonalizeFilter() : params{} {
    putField<uint32_t>(params, quorvex::kMagicOffset, kBlock.magic);
    putField<double>(params, layout::kLeft + coefficients::kB0, 1.0);
    putField<double>(params, layout::kRight + coefficients::kB0, 1.0);
    PersonalizeFilter::reset();
}

PersonalizeFilter::~PersonalizeFilter() = default;

const char* PersonalizeFilter::getName() { return "Personalizer"; }

int PersonalizeFilter::setParamData(unsigned long id, const void* block, int size) {
    return paramblock::acceptBlock(kBlock, id, block, size, hasValidFields,
                                   [this](const unsigned char* bytes) {
                                       std::memcpy(params, bytes, sizeof params);
                                       reset();
                                   });
}

int PersonalizeFilter::getParamData(unsigned long id, void* block, int size) {
    return paramblock::copyBlockOut(kBlock, id, block, size, params);
}

void PersonalizeFilter::reset() {
    leftSection = sectionAt(params, layout::kLeft);
    rightSection = sectionAt(params, layout::kRight);
}

int PersonalizeFilter::process(const RealAudioBuffer* in, RealAudioBuffer* out) {
    if (in->length > out->capacity) return -1;
    const bool active = in->sampleRate == 88200 || in->sampleRate == 96000;
    if (params[layout::kEnabled] != 0 && active)
        effects::runFrames<personalizer_96k>(*in, *out);
    else
        effects::copyFrames(*in, *out);
    effects::finishBlock(*in, *out);
    return 0;
}
