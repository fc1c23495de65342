#include <quorvex/AFUtil.h>
#include <quorvex/CompositionFilter.h>

#include <cstddef>
#include <new>

namespace {

constexpr int kNameBound = 4079;  // 4078 characters and the NUL
constexpr const char* kSeparator = " -> ";

// Replaces `*scratch` by a copy of `out` when it is smaller than `out`; keeps
// the old buffer and answers false when memory runs out.
bool growToFit(RealAudioBuffer** scratch, const RealAudioBuffer& out) {
    if (*scratch != nullptr && (*scratch)->capacity >= out.capacity) return true;
    RealAudioBuffer* grown = out.copyBuffer();
    if (grown == nullptr) return false;
    delete *scratch;
    *scratch = grown;
    return true;
}

// Appends `more` to the text of `used` characters, never letting it exceed
// kNameBound - 1 characters.
void appendBounded(char* text, int* used, const char* more) {
    const int room = kNameBound - *used;
    const int full = AFsnprintf(text + *used, static_cast<unsigned long>(room), "%s", more);
    if (full > 0) *used += full < room ? full : room - 1;
}

}  // namespace

CompositionFilter::CompositionFilter(int count, const Members& members)
    : count(count), filters{}, scratchA(nullptr), scratchB(nullptr), name{} {
    for (int i = 0; i < count; ++i) filters[i] = members[static_cast<size_t>(i)];
    initCF();
}

CompositionFilter::CompositionFilter(RealAudioFilter* f1, RealAudioFilter* f2)
    : CompositionFilter(2, Members{f1, f2}) {}

CompositionFilter::CompositionFilter(RealAudioFilter* f1, RealAudioFilter* f2, RealAudioFilter* f3)
    : CompositionFilter(3, Members{f1, f2, f3}) {}

CompositionFilter::CompositionFilter(RealAudioFilter* f1, RealAudioFilter* f2, RealAudioFilter* f3,
                                     RealAudioFilter* f4)
    : CompositionFilter(4, Members{f1, f2, f3, f4}) {}

CompositionFilter::CompositionFilter(RealAudioFilter* f1, RealAudioFilter* f2, RealAudioFilter* f3,
                                     RealAudioFilter* f4, RealAudioFilter* f5)
    : CompositionFilter(5, Members{f1, f2, f3, f4, f5}) {}

CompositionFilter::CompositionFilter(RealAudioFilter* f1, RealAudioFilter* f2, RealAudioFilter* f3,
                                     RealAudioFilter* f4, RealAudioFilter* f5, RealAudioFilter* f6)
    : CompositionFilter(6, Members{f1, f2, f3, f4, f5, f6}) {}

CompositionFilter::CompositionFilter(RealAudioFilter* f1, RealAudioFilter* f2, RealAudioFilter* f3,
                                     RealAudioFilter* f4, RealAudioFilter* f5, RealAudioFilter* f6,
                                     RealAudioFilter* f7)
    : CompositionFilter(7, Members{f1, f2, f3, f4, f5, f6, f7}) {}

CompositionFilter::CompositionFilter(RealAudioFilter* f1, RealAudioFilter* f2, RealAudioFilter* f3,
                                     RealAudioFilter* f4, RealAudioFilter* f5, RealAudioFilter* f6,
                                     RealAudioFilter* f7, RealAudioFilter* f8)
    : CompositionFilter(8, Members{f1, f2, f3, f4, f5, f6, f7, f8}) {}

CompositionFilter::CompositionFilter(RealAudioFilter* f1, RealAudioFilter* f2, RealAudioFilter* f3,
                                     RealAudioFilter* f4, RealAudioFilter* f5, RealAudioFilter* f6,
                                     RealAudioFilter* f7, RealAudioFilter* f8, RealAudioFilter* f9)
    : CompositionFilter(9, Members{f1, f2, f3, f4, f5, f6, f7, f8, f9}) {}

CompositionFilter::CompositionFilter(RealAudioFilter* f1, RealAudioFilter* f2, RealAudioFilter* f3,
                                     RealAudioFilter* f4, RealAudioFilter* f5, RealAudioFilter* f6,
                                     RealAudioFilter* f7, RealAudioFilter* f8, RealAudioFilter* f9,
                                     RealAudioFilter* f10)
    : CompositionFilter(10, Members{f1, f2, f3, f4, f5, f6, f7, f8, f9, f10}) {}

// Placeholders of one double; the first block replaces them. A placeholder
// that could not be made stays null and is made on the first block instead.
void CompositionFilter::initCF() {
    scratchA = new (std::nothrow) RealAudioBuffer(1, 44100, 16);
    scratchB = new (std::nothrow) RealAudioBuffer(1, 44100, 16);
}

CompositionFilter::~CompositionFilter() {
    delete scratchA;
    delete scratchB;
}

const char* CompositionFilter::getName() {
    char members[kNameBound] = {};
    int used = 0;
    for (int i = 0; i < count; ++i) {
        appendBounded(members, &used, filters[i]->getName());
        if (i < count - 1) appendBounded(members, &used, kSeparator);
    }
    AFsnprintf(name, kNameBound, "CF:[%s]", members);
    return name;
}

template <typename Call>
int CompositionFilter::offerToMembers(Call call) {
    int result = 0;
    for (int i = 0; i < count; ++i) {
        const int answer = call(filters[i]);
        if (answer != 0) result = answer;
    }
    return result;
}

int CompositionFilter::setParamData(unsigned long id, const void* block, int size) {
    return offerToMembers(
        [&](RealAudioFilter* member) { return member->setParamData(id, block, size); });
}

int CompositionFilter::getParamData(unsigned long id, void* block, int size) {
    return offerToMembers(
        [&](RealAudioFilter* member) { return member->getParamData(id, block, size); });
}

void CompositionFilter::reset() {
    for (int i = 0; i < count; ++i) filters[i]->reset();
}

int CompositionFilter::process(const RealAudioBuffer* in, RealAudioBuffer* out) {
    if (!growToFit(&scratchA, *out) || !growToFit(&scratchB, *out)) return -1;
    scratchA->channels = in->channels;
    scratchB->channels = in->channels;

    const RealAudioBuffer* source = in;
    int result = 0;
    for (int i = 0; i < count; ++i) {
        RealAudioBuffer* target = i == count - 1 ? out : (i % 2 == 0 ? scratchA : scratchB);
        target->length = 0;
        target->sampleRate = out->sampleRate;
        target->bitsPerSample = out->bitsPerSample;
        result = filters[i]->process(source, target);
        if (result < 0) return result;
        source = target;
    }
    return result;
}
