// Every effect's parameter calls and process calls, driven from the fuzz
// bytes, alone or as members of composition and debug chains, and the
// public per-frame kernels the effects are made of. Parameter blocks start
// from what the chain holds and have chosen fields changed, mostly to values
// in range, so every mode and stage is reached and not only refusals.
#include "FuzzSupport.h"

#include <quorvex/AFUtil.h>
#include <quorvex/ALCFilter.h>
#include <quorvex/CompositionFilter.h>
#include <quorvex/DebugFilter.h>
#include <quorvex/EqualizerFilter.h>
#include <quorvex/HPEQFilter.h>
#include <quorvex/ParamBlocks.h>
#include <quorvex/PersonalizeFilter.h>
#include <quorvex/SurroundFilter.h>
#include <quorvex/UpSamplingFilter.h>
#include <quorvex/Velmo.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace {

namespace alc = quorvex::alc_block;
namespace eq = quorvex::equalizer_block;
namespace hpeq = quorvex::hpeq_block;
namespace pers = quorvex::personalizer_block;
namespace sur = quorvex::surround_block;
namespace velmo = quorvex::velmo_block;
namespace coef = quorvex::coefficient_set;

enum class FieldType { Byte, Int, Double };

// One field of a block and the values it accepts.
struct Field {
    int offset;
    FieldType type;
    double low;
    double high;
};

struct BlockKind {
    unsigned long id;
    uint32_t magic;
    int size;
    std::vector<Field> fields;
};

constexpr Field byteField(int offset) { return {offset, FieldType::Byte, 0, 1}; }
constexpr Field intField(int offset, double low, double high) {
    return {offset, FieldType::Int, low, high};
}
constexpr Field doubleField(int offset, double low, double high) {
    return {offset, FieldType::Double, low, high};
}

void addCoefficientSet(std::vector<Field>& fields, int offset) {
    for (int k = 0; k < coef::kDoubles; ++k)
        fields.push_back(doubleField(offset + 8 * k, -2.0, 2.0));
}

// The surround's block is its settings record.
constexpr int kEmode = offsetof(SurroundConfigParams, emode);
constexpr int kHallM1 = offsetof(SurroundConfigParams, hall_m1);
constexpr int kHallM2 = offsetof(SurroundConfigParams, hall_m2);
constexpr int kHallM3 = offsetof(SurroundConfigParams, hall_m3);
constexpr int kHallGa1 = offsetof(SurroundConfigParams, hall_ga1);

std::vector<BlockKind> makeKinds() {
    std::vector<BlockKind> kinds;
    kinds.push_back({alc::kId,
                     alc::kMagic,
                     alc::kSize,
                     {byteField(alc::kEnabled), byteField(alc::kFlag),
                      intField(alc::kMode, alc::kModeSample, alc::kModeLinked),
                      doubleField(alc::kRecovery, alc::kRecoveryMin, alc::kRecoveryMax)}});

    BlockKind equalizer{eq::kId, eq::kMagic, eq::kSize, {byteField(eq::kEnabled)}};
    for (int band = 0; band < eq::kBands; ++band)
        equalizer.fields.push_back(doubleField(eq::gainOffset(band), eq::kGainMin, eq::kGainMax));
    kinds.push_back(equalizer);

    BlockKind headphone{hpeq::kId, hpeq::kMagic, hpeq::kSize, {byteField(hpeq::kEnabled)}};
    for (int s = 0; s < hpeq::kSectionCount; ++s)
        addCoefficientSet(headphone.fields, hpeq::sectionOffset(s));
    kinds.push_back(headphone);

    BlockKind personal{pers::kId, pers::kMagic, pers::kSize, {byteField(pers::kEnabled)}};
    addCoefficientSet(personal.fields, pers::kLeft);
    addCoefficientSet(personal.fields, pers::kRight);
    kinds.push_back(personal);

    BlockKind surround{sur::kId,
                       sur::kMagic,
                       sur::kSize,
                       {byteField(quorvex::kEnabledOffset), intField(kEmode, 0, 63),
                        intField(kHallM1, sur::kHallLengthMin, sur::kHallM1Max),
                        intField(kHallM2, sur::kHallLengthMin, sur::kHallM2Max),
                        intField(kHallM3, sur::kHallLengthMin, sur::kHallM3Max)}};
    for (int offset = kHallGa1; offset < sur::kSize; offset += 8)
        surround.fields.push_back(doubleField(offset, sur::kGainMin, sur::kGainMax));
    kinds.push_back(surround);

    kinds.push_back(
        {velmo::kId,
         velmo::kMagic,
         velmo::kSize,
         {byteField(velmo::kEnabled), byteField(velmo::kMp3Source), byteField(velmo::kReserved),
          intField(velmo::kMode, velmo::kModeSuper, velmo::kModeFine),
          intField(velmo::kBlockSize, velmo::kSize, velmo::kSize),
          intField(velmo::kEndMagicOffset, velmo::kEndMagic, velmo::kEndMagic)}});
    return kinds;
}

const std::vector<BlockKind>& kinds() {
    static const std::vector<BlockKind> all = makeKinds();
    return all;
}

// The block a filter of this kind starts with, read once from a fresh one.
const std::vector<unsigned char>& defaultBlock(size_t kind) {
    static const std::vector<std::vector<unsigned char>> blocks = [] {
        std::vector<std::unique_ptr<RealAudioFilter>> fresh;
        fresh.push_back(std::make_unique<ALCFilter>());
        fresh.push_back(std::make_unique<EqualizerFilter>());
        fresh.push_back(std::make_unique<HPEQFilter>());
        fresh.push_back(std::make_unique<PersonalizeFilter>());
        fresh.push_back(std::make_unique<SurroundFilter>());
        fresh.push_back(std::make_unique<UpSamplingFilter>());
        std::vector<std::vector<unsigned char>> all;
        for (size_t k = 0; k < fresh.size(); ++k) {
            all.emplace_back(static_cast<size_t>(kinds()[k].size));
            fresh[k]->getParamData(kinds()[k].id, all.back().data(), kinds()[k].size);
        }
        return all;
    }();
    return blocks[kind];
}

constexpr int kLargestBlock = 256;
constexpr int kMaxInput = 512;

// The filters of one iteration; `growth` is how many times longer the chain's
// output is than its input (the up-sampler doubles it).
struct Chain {
    std::vector<std::unique_ptr<RealAudioFilter>> owned;
    RealAudioFilter* outer = nullptr;
    int growth = 1;
    bool composed = false;
};

std::unique_ptr<RealAudioFilter> makeEffect(FuzzedDataProvider& bytes, int& growth) {
    switch (bytes.ConsumeIntegralInRange<int>(0, 5)) {
        case 0: return std::make_unique<ALCFilter>();
        case 1: return std::make_unique<EqualizerFilter>();
        case 2: return std::make_unique<HPEQFilter>();
        case 3: return std::make_unique<PersonalizeFilter>();
        case 4: return std::make_unique<SurroundFilter>();
        default: {
            growth *= 2;
            auto upSampler = std::make_unique<UpSamplingFilter>();
            upSampler->setUseUpSampler32(bytes.ConsumeBool());
            fuzz::require(upSampler->getName() != nullptr, "named");
            return upSampler;
        }
    }
}

RealAudioFilter* member(FuzzedDataProvider& bytes, Chain& chain) {
    chain.owned.push_back(makeEffect(bytes, chain.growth));
    RealAudioFilter* filter = chain.owned.back().get();
    if (bytes.ConsumeBool()) {
        chain.owned.push_back(std::make_unique<DebugFilter>(
            filter, bytes.ConsumeIntegralInRange<int>(-1, 4), bytes.ConsumeBool()));
        filter = chain.owned.back().get();
    }
    return filter;
}

std::unique_ptr<RealAudioFilter> compose(const std::vector<RealAudioFilter*>& m) {
    switch (m.size()) {
        case 2: return std::make_unique<CompositionFilter>(m[0], m[1]);
        case 3: return std::make_unique<CompositionFilter>(m[0], m[1], m[2]);
        case 4: return std::make_unique<CompositionFilter>(m[0], m[1], m[2], m[3]);
        default: return std::make_unique<CompositionFilter>(m[0], m[1], m[2], m[3], m[4]);
    }
}

Chain buildChain(FuzzedDataProvider& bytes) {
    Chain chain;
    const int members = bytes.ConsumeIntegralInRange<int>(1, 5);
    std::vector<RealAudioFilter*> filters;
    for (int i = 0; i < members; ++i) filters.push_back(member(bytes, chain));
    if (members == 1) {
        chain.outer = filters[0];
        return chain;
    }
    chain.owned.push_back(compose(filters));
    chain.composed = true;
    chain.outer = chain.owned.back().get();
    if (bytes.ConsumeBool()) {
        chain.owned.push_back(std::make_unique<DebugFilter>(chain.outer, 1, false));
        chain.outer = chain.owned.back().get();
    }
    return chain;
}

// A value for one field: mostly within its range, sometimes any bits at all.
void mutateField(FuzzedDataProvider& bytes, const Field& field, unsigned char* block) {
    const bool hostile = bytes.ConsumeIntegralInRange<int>(0, 7) == 0;
    switch (field.type) {
        case FieldType::Byte:
            block[field.offset] = hostile ? bytes.ConsumeIntegral<uint8_t>()
                                          : static_cast<unsigned char>(bytes.ConsumeBool());
            return;
        case FieldType::Int: {
            const int32_t value =
                hostile ? bytes.ConsumeIntegral<int32_t>()
                        : static_cast<int32_t>(bytes.ConsumeIntegralInRange<int64_t>(
                              static_cast<int64_t>(field.low), static_cast<int64_t>(field.high)));
            std::memcpy(block + field.offset, &value, sizeof value);
            return;
        }
        case FieldType::Double: {
            const double value =
                hostile ? fuzz::sample(bytes)
                        : bytes.ConsumeFloatingPointInRange<double>(field.low, field.high);
            std::memcpy(block + field.offset, &value, sizeof value);
            return;
        }
    }
}

// A block of one kind, from what the chain holds (or the kind's defaults)
// with chosen fields changed; now and then the identifier, magic or size is
// wrong. An accepted block reads back as sent, or as before when the filter
// keeps an unchanged setting running; a refused one leaves the stored block.
void exerciseParameters(FuzzedDataProvider& bytes, RealAudioFilter& filter) {
    const size_t kindIndex = bytes.ConsumeIntegralInRange<size_t>(0, kinds().size() - 1);
    const BlockKind& kind = kinds()[kindIndex];
    std::array<unsigned char, kLargestBlock> before{};
    const int had = filter.getParamData(kind.id, before.data(), kLargestBlock);

    std::array<unsigned char, kLargestBlock> block{};
    if (had == kind.size)
        block = before;
    else
        std::copy(defaultBlock(kindIndex).begin(), defaultBlock(kindIndex).end(), block.begin());
    const int changes = bytes.ConsumeIntegralInRange<int>(0, 4);
    for (int c = 0; c < changes; ++c)
        mutateField(bytes,
                    kind.fields[bytes.ConsumeIntegralInRange<size_t>(0, kind.fields.size() - 1)],
                    block.data());

    unsigned long id = kind.id;
    int size = kind.size;
    switch (bytes.ConsumeIntegralInRange<int>(0, 15)) {
        case 0: id = bytes.ConsumeIntegral<uint32_t>(); break;
        case 1: block[quorvex::kMagicOffset] ^= 1; break;
        case 2: size += bytes.ConsumeIntegralInRange<int>(-2, 2); break;
        case 3: size = -1; break;
        default: break;
    }

    const int result = filter.setParamData(id, block.data(), size);
    std::array<unsigned char, kLargestBlock> after{};
    const int has = filter.getParamData(id, after.data(), kLargestBlock);

    fuzz::require(result == 0 || result == -1 || result == kind.size, "set result");
    if (id != kind.id) return;
    fuzz::require(has == had, "get result changed by a set");
    if (has <= 0) return;
    const bool keptBlock = std::memcmp(after.data(), before.data(), static_cast<size_t>(has)) == 0;
    if (result == -1) fuzz::require(keptBlock, "refused block kept");
    // The equalizer keeps only its leading bytes; the rest read back as zeros.
    const size_t stored = kind.id == eq::kId ? eq::kStoredBytes : static_cast<size_t>(has);
    if (result == kind.size)
        fuzz::require(keptBlock || std::memcmp(after.data(), block.data(), stored) == 0,
                      "accepted block read back");
}

void exerciseProcess(FuzzedDataProvider& bytes, Chain& chain) {
    fuzz::InputBlock in(bytes, kMaxInput, fuzz::sampleRate(bytes), fuzz::bitDepth(bytes));
    const int needed = in.buffer.length * chain.growth;
    const int capacity = std::max(0, needed + bytes.ConsumeIntegralInRange<int>(-3, 3));
    fuzz::GuardedOutput out(capacity);
    // A host may hand a composition an output whose length exceeds its
    // capacity; the composition must refuse rather than copy it.
    if (bytes.ConsumeIntegralInRange<int>(0, 15) == 0) out.get()->length = capacity + 1;
    out.snapshot();

    const int result = chain.outer->process(&in.buffer, out.get());
    fuzz::require(result == 0 || result == -1, "process result");
    if (result == -1) {
        fuzz::require(out.untouched(chain.composed), "refused process left the output as it was");
        return;
    }
    fuzz::require(capacity >= needed, "accepted an output that is too small");
    fuzz::require(out.withinCapacity(), "process wrote within the capacity");
    fuzz::require(out.get()->length == needed, "output length");
    if (chain.growth == 1) {
        fuzz::require(out.get()->sampleRate == in.buffer.sampleRate, "effect keeps the rate");
        fuzz::require(out.get()->bitsPerSample == in.buffer.bitsPerSample,
                      "effect keeps the depth");
    } else {
        fuzz::require(out.get()->bitsPerSample == velmo::kOutputBits, "enhancer's depth");
    }
}

using FrameKernel = void (*)(double, double, double*, double*);
using DoublingKernel = void (*)(double, double, double*, double*, double*, double*);

// The per-frame kernels a host may call directly, each over a few frames:
// one output frame per input frame, or two for the up-sampling kernels.
void exerciseKernels(FuzzedDataProvider& bytes) {
    static const FrameKernel frameKernels[] = {
        HPEQ_3F,       personalizer_96k, equalizer_44k, equalizer_48k, equalizer_88k,
        equalizer_96k, Surround_44k,     Surround_88k,  booster_48k,   booster_96k,
    };
    static const DoublingKernel doublingKernels[] = {
        Velmo_OFF, VelmoCDUpSampler, VelmoMP3UpSampler, VelmoCDUpSampler32, VelmoMP3UpSampler32,
    };
    const int frames = bytes.ConsumeIntegralInRange<int>(1, 16);
    switch (bytes.ConsumeIntegralInRange<int>(0, 3)) {
        case 0: {
            const FrameKernel kernel = bytes.PickValueInArray(frameKernels);
            for (int f = 0; f < frames; ++f) {
                double left = fuzz::sample(bytes), right = fuzz::sample(bytes);
                kernel(left, right, &left, &right);  // outputs may alias the inputs
            }
            return;
        }
        case 1: {
            const DoublingKernel kernel = bytes.PickValueInArray(doublingKernels);
            double out[4];
            for (int f = 0; f < frames; ++f)
                kernel(fuzz::sample(bytes), fuzz::sample(bytes), &out[0], &out[1], &out[2],
                       &out[3]);
            if (bytes.ConsumeBool()) VelmoInit();
            return;
        }
        case 2: {
            double gain = bytes.ConsumeFloatingPointInRange<double>(0.0, 1.0);
            for (int f = 0; f < frames; ++f) {
                double left, right;
                ALC_doALC(fuzz::sample(bytes), fuzz::sample(bytes), &left, &right, &gain);
                fuzz::require(!(gain > 1.0), "level control never raises its gain");
            }
            return;
        }
        default: {
            // A short line, read and overwritten in place, its position wrapping.
            constexpr int kLine = 8;
            double line[kLine][2] = {};
            const int delay = bytes.ConsumeIntegralInRange<int>(1, kLine);
            int position = bytes.ConsumeIntegralInRange<int>(0, delay - 1);
            const double gain = bytes.ConsumeFloatingPointInRange<double>(-1.0, 1.0);
            for (int f = 0; f < frames; ++f) {
                double left = fuzz::sample(bytes), right = fuzz::sample(bytes);
                allpass(&left, &right, gain, line, delay, &position);
                fuzz::require(position >= 0 && position < delay, "all-pass position");
            }
            return;
        }
    }
}

// Names are bounded however deep the nesting.
void exerciseNames(Chain& chain) {
    char copy[8];
    const char* name = chain.outer->getName();
    fuzz::require(name != nullptr && std::strlen(name) < 4079, "name bounded");
    AFsnprintf(copy, sizeof copy, "%s", name);
    AFMemSet(copy, 0, sizeof copy);
    AFQueryTick();
}

// Buffers a host sizes wrongly: a negative or unrepresentable capacity gets
// no array, and a copy that cannot be made is refused.
bool checkBufferMisuse() {
    const RealAudioBuffer empty;
    const RealAudioBuffer negative(-1, 44100, 16);
    double sample = 0.0;
    const RealAudioBuffer huge(&sample, std::numeric_limits<int>::max() / 8 + 1, 0, 44100, 16);
    AFPRINT_IMPL("%s", "");
    return empty.data == nullptr && empty.capacity == 0 && negative.data == nullptr &&
           negative.capacity == 0 && huge.copyBuffer() == nullptr;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool misuseRefused = checkBufferMisuse();
    fuzz::require(misuseRefused, "misused buffers refused");
    FuzzedDataProvider bytes(data, size);
    Chain chain = buildChain(bytes);
    while (bytes.remaining_bytes() > 0) {
        switch (bytes.ConsumeIntegralInRange<int>(0, 7)) {
            case 0:
            case 1: exerciseParameters(bytes, *chain.outer); break;
            case 2: chain.outer->reset(); break;
            case 3: exerciseKernels(bytes); break;
            case 4: exerciseNames(chain); break;
            default: exerciseProcess(bytes, chain); break;
        }
    }
    // Wrappers go before the filters they refer to.
    while (!chain.owned.empty()) chain.owned.pop_back();
    return 0;
}
