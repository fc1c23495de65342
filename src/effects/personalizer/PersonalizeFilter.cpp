#include <quorvex/PersonalizeFilter.h>

#include <quorvex/ParamBlocks.h>

#include <cstdint>
#include <cstring>

#include "dsp/Section.h"
#include "dsp/StereoLanes.h"
#include "effects/common/StereoFrames.h"
#include "framework/ParamBlock.h"

using paramblock::fieldAt;
using paramblock::putField;

namespace {

namespace layout = quorvex::personalizer_block;
namespace coefficients = quorvex::coefficient_set;

constexpr paramblock::BlockLayout kBlock = {layout::kId, layout::kMagic, layout::kSize,
                                            layout::kSize};

using dsp::StereoLanes;

// The sections in force, the left channel's in lane 0 and the right's in
// lane 1, shared by every PersonalizeFilter; until the first filter is made
// both pass their input unchanged.
dsp::BasicSectionCoeffs<StereoLanes> sections = {{1.0, 1.0}, {}, {}, {}, {}};

// One coefficient of both channels' sets; a0 is never used.
StereoLanes coefficientPair(const unsigned char* block, int within) {
    return StereoLanes{fieldAt<double>(block, layout::kLeft + within),
                       fieldAt<double>(block, layout::kRight + within)};
}

// Both coefficient sets, which lie back to back.
bool hasValidFields(const unsigned char* block) {
    static_assert(layout::kRight == layout::kLeft + coefficients::kSize, "sets back to back");
    return paramblock::doublesWithin(block, layout::kLeft, 2 * coefficients::kDoubles,
                                     coefficients::kLimit);
}

}  // namespace

void personalizer_96k(double left, double right, double* outLeft, double* outRight) {
    static dsp::SectionHistory<StereoLanes> history;  // never cleared
    const StereoLanes y = dsp::runSection(sections, history, StereoLanes{left, right});
    *outLeft = y[0];
    *outRight = y[1];
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
    sections = {
        coefficientPair(params, coefficients::kB0), coefficientPair(params, coefficients::kB1),
        coefficientPair(params, coefficients::kB2), coefficientPair(params, coefficients::kA1),
        coefficientPair(params, coefficients::kA2)};
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
