#include <quorvex/PersonalizeFilter.h>

#include <cstdint>
#include <cstring>

#include "framework/ParamBlock.h"
#include "effects/common/FeedbackSection.h"
#include "effects/common/StereoFrames.h"

using paramblock::fieldAt;
using paramblock::putField;

namespace {

constexpr paramblock::BlockLayout kBlock = {0x70554143, 0x6D556131, 104, 104};  // pUAC / mUa1
constexpr int kOffEnabled = 4;
constexpr int kOffLeft = 8;
constexpr int kOffRight = 56;
constexpr int kOffB0 = 24;  // within a coefficient set
constexpr int kCoefficients = 12;
constexpr double kCoefficientLimit = 1000.0;

// The coefficients in force, shared by every PersonalizeFilter; aL0 and aR0
// are kept only because the block carries them.
double aL0, aL1, aL2, bL0 = 1.0, bL1, bL2;
double aR0, aR1, aR2, bR0 = 1.0, bR1, bR2;

}  // namespace

void personalizer_96k(double left, double right, double* outLeft, double* outRight) {
    static double dl11, dl12, dr11, dr12;  // never cleared
    static double xl1a, xl1b, xl1o, xr1a, xr1b, xr1o;

    effects::sectionSums(left, aL1, aL2, bL0, bL1, bL2, dl11, dl12, &xl1a, &xl1b, &xl1o);
    *outLeft = xl1o;
    effects::sectionSums(right, aR1, aR2, bR0, bR1, bR2, dr11, dr12, &xr1a, &xr1b, &xr1o);
    *outRight = xr1o;
    effects::advanceSection(left, xl1a, &dl11, &dl12);
    effects::advanceSection(right, xr1a, &dr11, &dr12);
}

PersonalizeFilter::PersonalizeFilter() : params{} {
    putField<uint32_t>(params, 0, kBlock.magic);
    putField<double>(params, kOffLeft + kOffB0, 1.0);
    putField<double>(params, kOffRight + kOffB0, 1.0);
    PersonalizeFilter::reset();
}

PersonalizeFilter::~PersonalizeFilter() = default;

const char* PersonalizeFilter::getName() { return "Personalizer"; }

int PersonalizeFilter::setParamData(unsigned long id, const void* block, int size) {
    int answer;
    const unsigned char* bytes = paramblock::screenBlock(kBlock, id, block, size, &answer);
    if (bytes == nullptr) return answer;
    if (!paramblock::doublesWithin(bytes, kOffLeft, kCoefficients, kCoefficientLimit)) return -1;
    std::memcpy(params, bytes, sizeof params);
    reset();
    return kBlock.size;
}

int PersonalizeFilter::getParamData(unsigned long id, void* block, int size) {
    return paramblock::copyBlockOut(kBlock, id, block, size, params);
}

void PersonalizeFilter::reset() {
    double* const vars[kCoefficients] = {&aL0, &aL1, &aL2, &bL0, &bL1, &bL2,
                                         &aR0, &aR1, &aR2, &bR0, &bR1, &bR2};
    for (int i = 0; i < kCoefficients; ++i) *vars[i] = fieldAt<double>(params, kOffLeft + 8 * i);
}

int PersonalizeFilter::process(const RealAudioBuffer* in, RealAudioBuffer* out) {
    if (in->length > out->capacity) return -1;
    const bool active = in->sampleRate == 88200 || in->sampleRate == 96000;
    if (params[kOffEnabled] != 0 && active)
        effects::runFrames<personalizer_96k>(*in, *out);
    else
        effects::copyFrames(*in, *out);
    effects::finishBlock(*in, *out);
    return 0;
}
