#include "registry.h"

#include <stdexcept>
#include <utility>

namespace quorvex::chain {

namespace {

using Members = std::vector<std::unique_ptr<RealAudioFilter>>;

template <size_t... I>
std::unique_ptr<RealAudioFilter> composeMembers(const Members& members, std::index_sequence<I...>) {
    return std::make_unique<CompositionFilter>(members[I].get()...);
}

template <size_t Count>
std::unique_ptr<RealAudioFilter> composeCount(const Members& members) {
    return composeMembers(members, std::make_index_sequence<Count>());
}

// The composition takes its 2 to 10 members as constructor arguments: one
// maker per count.
template <size_t... N>
std::unique_ptr<RealAudioFilter> composeAny(const Members& members, std::index_sequence<N...>) {
    using Maker = std::unique_ptr<RealAudioFilter> (*)(const Members&);
    static constexpr Maker makers[] = {&composeCount<N + 2>...};
    return makers[members.size() - 2](members);
}

std::unique_ptr<RealAudioFilter> compose(const Members& members) {
    return composeAny(members, std::make_index_sequence<kMaxChainLength - 1>());
}

}  // namespace

Chain::Chain(const std::vector<Step>& steps, StreamFormat input) : streamFormats{input} {
    if (steps.empty() || steps.size() > kMaxChainLength)
        throw std::logic_error("a chain holds 1 to " + std::to_string(kMaxChainLength) +
                               " filters");
    if (input.rate < 1 || input.rate > kHighestRate)
        throw StreamError("a chain takes rates from 1 to " + std::to_string(kHighestRate) +
                          " Hz, not " + std::to_string(input.rate) + " Hz");
    const FilterEntry& first = entryFor(*steps.front().filter);
    if (first.buildInteger) {
        BuiltIntegerFilter built = first.buildInteger(steps.front().settings, input);
        integerOnly = std::move(built.filter);
        streamFormats.push_back(built.output);
        return;
    }
    for (const Step& step : steps) {
        BuiltFilter built = entryFor(*step.filter).build(step.settings, streamFormats.back());
        members.push_back(std::move(built.filter));
        streamFormats.push_back(built.output);
        latency += built.latencySeconds;
    }
    if (members.size() > 1) composition = compose(members);
}

Chain::Chain(const std::string& text, StreamFormat input) : Chain(parse(text), input) {}

Chain::~Chain() = default;

RealAudioFilter& Chain::outermost() {
    if (members.empty())
        throw std::logic_error("a chain of an integer-only filter runs on integer PCM only");
    return composition ? *composition : *members.front();
}

std::string Chain::name() { return integerOnly ? integerOnly->getName() : outermost().getName(); }

}  // namespace quorvex::chain
