#include <quorvex/HPEQFilter.h>

#include <quorvex/ParamBlocks.h>

#include <cstring>

#include "dsp/Section.h"
#include "dsp/StereoLanes.h"
#include "effects/common/StereoFrames.h"
#include "framework/ParamBlock.h"

namespace {

namespace layout = quorvex::hpeq_block;
namespace coefficients = quorvex::coefficient_set;

constexpr paramblock::BlockLayout kBlock = {layout::kId, layout::kMagic, layout::kSize,
                                            layout::kSize};
constexpr int kSections = layout::kSectionCount;

// The sections in force, shared by every HPEQFilter and the same for both
// channels; until the first HPEQInit each one passes its input unchanged.
dsp::SectionCoeffs sections[kSections] = {
    {1.0, 0.0, 0.0, 0.0, 0.0}, {1.0, 0.0, 0.0, 0.0, 0.0}, {1.0, 0.0, 0.0, 0.0, 0.0}};

dsp::SectionCoeffs sectionOf(const PhoneAdaptationConfigParams::CoefficientSet& s) {
    return {s.b0, s.b1, s.b2, s.a1, s.a2};
}

bool hasValidFields(const unsigned char* block) {
    return paramblock::doublesWithin(block, layout::kSections, kSections * coefficients::kDoubles,
                                     coefficients::kLimit);
}

}  // namespace

void HPEQInit(const PhoneAdaptationConfigParams& params) {
    for (int k = 0; k < kSections; ++k) sections[k] = sectionOf(params.section[k]);
}

void HPEQ_3F(double left, double right, double* outLeft, double* outRight) {
    // Both channels in the lanes; the histories are never cleared.
    static dsp::SectionHistory<dsp::StereoLanes> history[kSections];
    const dsp::StereoLanes y =
        dsp::runCascade(sections, history, kSections, dsp::StereoLanes{left, right});
    *outLeft = y[0];
    *outRight = y[1];
}

HPEQFilter::HPEQFilter() : params{} {
    params.magic = kBlock.magic;
    for (PhoneAdaptationConfigParams::CoefficientSet& s : params.section) s.b0 = 1.0;
    HPEQInit(params);
}

HPEQFilter::~HPEQFilter() = default;

const char* HPEQFilter::getName() { return "HPEQ"; }

int HPEQFilter::setParamData(unsigned long id, const void* block, int size) {
    return paramblock::acceptBlock(kBlock, id, block, size, hasValidFields,
                                   [this](const unsigned char* bytes) {
                                       std::memcpy(&params, bytes, sizeof params);
                                       reset();
                                   });
}

int HPEQFilter::getParamData(unsigned long id, void* block, int size) {
    return paramblock::copyBlockOut(kBlock, id, block, size, &params);
}

void HPEQFilter::reset() { HPEQInit(params); }

int HPEQFilter::process(const RealAudioBuffer* in, RealAudioBuffer* out) {
    if (in->length > out->capacity) return -1;
    const bool active = in->sampleRate == 88200 || in->sampleRate == 96000;
    if (params.enabled != 0 && active)
        effects::runFrames<HPEQ_3F>(*in, *out);
    else
        effects::copyFrames(*in, *out);
    effects::finishBlock(*in, *out);
    return 0;
}
