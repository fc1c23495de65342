// Every effect's parameter calls and process calls, driven from the fuzz
// bytes, alone or as members of composition and debug chains.
#include "FuzzSupport.h"

#include <quorvex/ALCFilter.h>
#include <quorvex/CompositionFilter.h>
#include <quorvex/DebugFilter.h>
#include <quorvex/EqualizerFilter.h>
#include <quorvex/HPEQFilter.h>
#include <quorvex/ParamBlocks.h>
#include <quorvex/PersonalizeFilter.h>
#include <quorvex/SurroundFilter.h>
#include <quorvex/UpSamplingFilter.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <vector>

namespace {

struct BlockKind {
    unsigned long id;
    uint32_t magic;
    int size;
    int stored;  // leading bytes the filter keeps and reads back
};

constexpr std::array<BlockKind, 6> kBlocks = {{
    {quorvex::alc_block::kId, quorvex::alc_block::kMagic, quorvex::alc_block::kSize,
     quorvex::alc_block::kSize},
    {quorvex::equalizer_block::kId, quorvex::equalizer_block::kMagic,
     quorvex::equalizer_block::kSize, quorvex::equalizer_block::kStoredBytes},
    {quorvex::hpeq_block::kId, quorvex::hpeq_block::kMagic, quorvex::hpeq_block::kSize,
     quorvex::hpeq_block::kSize},
    {quorvex::personalizer_block::kId, quorvex::personalizer_block::kMagic,
     quorvex::personalizer_block::kSize, quorvex::personalizer_block::kSize},
    {quorvex::surround_block::kId, quorvex::surround_block::kMagic, quorvex::surround_block::kSize,
     quorvex::surround_block::kSize},
    {quorvex::velmo_block::kId, quorvex::velmo_block::kMagic, quorvex::velmo_block::kSize,
     quorvex::velmo_block::kSize},
}};

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
        default: growth *= 2; return std::make_unique<UpSamplingFilter>();
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

// A block that usually carries the right magic, so the range checks are
// reached, at a size around the block's own.
void exerciseParameters(FuzzedDataProvider& bytes, RealAudioFilter& filter) {
    const BlockKind kind = bytes.PickValueInArray(kBlocks);
    const unsigned long id =
        bytes.ConsumeIntegralInRange<int>(0, 15) == 0 ? bytes.ConsumeIntegral<uint32_t>() : kind.id;
    std::array<unsigned char, kLargestBlock> block{};
    const std::vector<unsigned char> payload = bytes.ConsumeBytes<unsigned char>(kind.size);
    std::copy(payload.begin(), payload.end(), block.begin());
    if (bytes.ConsumeIntegralInRange<int>(0, 7) != 0)
        std::memcpy(block.data() + quorvex::kMagicOffset, &kind.magic, sizeof kind.magic);
    const int size = kind.size + bytes.ConsumeIntegralInRange<int>(-2, 2);

    std::array<unsigned char, kLargestBlock> before{};
    const int had = filter.getParamData(id, before.data(), kLargestBlock);
    const int result = filter.setParamData(id, block.data(), size);
    std::array<unsigned char, kLargestBlock> after{};
    const int has = filter.getParamData(id, after.data(), kLargestBlock);

    fuzz::require(result == 0 || result == -1 || result == kind.size, "set result");
    fuzz::require(has == had, "get result changed by a set");
    if (result == kind.size)
        fuzz::require(std::memcmp(after.data(), block.data(), kind.stored) == 0,
                      "accepted block read back");
    if (result == -1 && has > 0)
        fuzz::require(std::memcmp(after.data(), before.data(), has) == 0, "refused block kept");
}

void exerciseProcess(FuzzedDataProvider& bytes, Chain& chain) {
    fuzz::InputBlock in(bytes, kMaxInput, fuzz::sampleRate(bytes), fuzz::bitDepth(bytes));
    const int needed = in.buffer.length * chain.growth;
    const int capacity = std::max(0, needed + bytes.ConsumeIntegralInRange<int>(-3, 3));
    fuzz::GuardedOutput out(capacity);
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
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider bytes(data, size);
    Chain chain = buildChain(bytes);
    while (bytes.remaining_bytes() > 0) {
        switch (bytes.ConsumeIntegralInRange<int>(0, 3)) {
            case 0: exerciseParameters(bytes, *chain.outer); break;
            case 1: chain.outer->reset(); break;
            default: exerciseProcess(bytes, chain); break;
        }
    }
    // Wrappers go before the filters they refer to.
    while (!chain.owned.empty()) chain.owned.pop_back();
    return 0;
}
