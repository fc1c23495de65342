#include <quorvex/HPEQFilter.h>

#include <cstring>

#include "framework/ParamBlock.h"
#include "effects/common/FeedbackSection.h"
#include "effects/common/StereoFrames.h"

using effects::advanceSection;
using effects::sectionSums;

namespace {

constexpr paramblock::BlockLayout kBlock = {0x70504143, 0x6D504131,  // pPAC / mPA1
                                       sizeof(PhoneAdaptationConfigParams),
                                       sizeof(PhoneAdaptationConfigParams)};
constexpr int kOffSections = 8;
constexpr int kCoefficients = 18;
constexpr double kCoefficientLimit = 1000.0;

// The coefficients in force, shared by every HPEQFilter; a10, a20 and a30
// are kept only because the record carries them.
double a10, a11, a12, b10 = 1.0, b11, b12;
double a20, a21, a22, b20 = 1.0, b21, b22;
double a30, a31, a32, b30 = 1.0, b31, b32;

}  // namespace

void HPEQInit(const PhoneAdaptationConfigParams& params) {
    const PhoneAdaptationConfigParams::CoefficientSet* s = params.section;
    a10 = s[0].a0, a11 = s[0].a1, a12 = s[0].a2, b10 = s[0].b0, b11 = s[0].b1, b12 = s[0].b2;
    a20 = s[1].a0, a21 = s[1].a1, a22 = s[1].a2, b20 = s[1].b0, b21 = s[1].b1, b22 = s[1].b2;
    a30 = s[2].a0, a31 = s[2].a1, a32 = s[2].a2, b30 = s[2].b0, b31 = s[2].b1, b32 = s[2].b2;
}

void HPEQ_3F(double left, double right, double* outLeft, double* outRight) {
    // Histories: never cleared.
    static double dl11, dl12, dr11, dr12, dl21, dl22, dr21, dr22, dl31, dl32, dr31, dr32;
    // Feedback sum, feed-forward sum and output of each section and channel.
    static double xl1a, xl1b, xl1o, xr1a, xr1b, xr1o;
    static double xl2a, xl2b, xl2o, xr2a, xr2b, xr2o;
    static double xl3a, xl3b, xl3o, xr3a, xr3b, xr3o;

    sectionSums(left, a11, a12, b10, b11, b12, dl11, dl12, &xl1a, &xl1b, &xl1o);
    sectionSums(right, a11, a12, b10, b11, b12, dr11, dr12, &xr1a, &xr1b, &xr1o);
    sectionSums(xl1o, a21, a22, b20, b21, b22, dl21, dl22, &xl2a, &xl2b, &xl2o);
    sectionSums(xr1o, a21, a22, b20, b21, b22, dr21, dr22, &xr2a, &xr2b, &xr2o);
    sectionSums(xl2o, a31, a32, b30, b31, b32, dl31, dl32, &xl3a, &xl3b, &xl3o);
    sectionSums(xr2o, a31, a32, b30, b31, b32, dr31, dr32, &xr3a, &xr3b, &xr3o);
    *outLeft = xl3o;
    *outRight = xr3o;

    advanceSection(left, xl1a, &dl11, &dl12);
    advanceSection(right, xr1a, &dr11, &dr12);
    advanceSection(xl1o, xl2a, &dl21, &dl22);
    advanceSection(xr1o, xr2a, &dr21, &dr22);
    advanceSection(xl2o, xl3a, &dl31, &dl32);
    advanceSection(xr2o, xr3a, &dr31, &dr32);
}

HPEQFilter::HPEQFilter() : params{} {
    params.magic = kBlock.magic;
    for (PhoneAdaptationConfigParams::CoefficientSet& s : params.section) s.b0 = 1.0;
    HPEQInit(params);
}

HPEQFilter::~HPEQFilter() = default;

const char* HPEQFilter::getName() { return "HPEQ"; }

int HPEQFilter::setParamData(unsigned long id, const void* block, int size) {
    int answer;
    const unsigned char* bytes = paramblock::screenBlock(kBlock, id, block, size, &answer);
    if (bytes == nullptr) return answer;
    if (!paramblock::doublesWithin(bytes, kOffSections, kCoefficients, kCoefficientLimit)) return -1;
    std::memcpy(&params, bytes, sizeof params);
    reset();
    return kBlock.size;
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
