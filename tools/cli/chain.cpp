#include "chain.h"

#include "error.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <numeric>
#include <sstream>
#include <utility>

namespace {

constexpr size_t kMaxChainLength = 10;  // the most filters one composition holds

std::string lowercase(std::string text) {
    for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

bool endsWith(const std::string& text, const std::string& tail) {
    return text.size() >= tail.size() && text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : ", ") + word;
    return text;
}

// A number with an optional unit after it ("+3", "-2dB", "48k", "48000Hz").
double parseNumber(const std::string& filter, const ParamDef& param, const std::string& text) {
    std::string digits = lowercase(text);
    const std::string unit = lowercase(param.unit);
    if (!unit.empty() && endsWith(digits, unit)) digits.resize(digits.size() - unit.size());
    double scale = 1.0;
    if (unit == "hz" && endsWith(digits, "k")) {
        digits.pop_back();
        scale = 1000.0;
    }
    char* end = nullptr;
    const double value = std::strtod(digits.c_str(), &end) * scale;
    if (digits.empty() || *end != '\0' || !std::isfinite(value))
        throw UsageError(filter + ": " + param.key + "=" + text + " is not a number");
    if (param.whole && value != std::floor(value))
        throw UsageError(filter + ": " + param.key + "=" + text + " must be a whole number");
    if (value < param.min || value > param.max)
        throw UsageError(filter + ": " + param.key + "=" + text + " is out of range: " +
                         param.key + " takes " + rangeText(param));
    return value;
}

double parseSwitch(const std::string& filter, const ParamDef& param, const std::string& text) {
    const std::string word = lowercase(text);
    if (word == "on" || word == "yes" || word == "true" || word == "1") return 1.0;
    if (word == "off" || word == "no" || word == "false" || word == "0") return 0.0;
    throw UsageError(filter + ": " + param.key + "=" + text + " must be on or off");
}

void setValue(const std::string& filter, const ParamDef& param, const std::string& text,
              bool given, ParamValues& values) {
    if (!given && text.empty()) {  // no default: the filter decides
        values.set(param.key, "", 0.0, false);
        return;
    }
    switch (param.kind) {
        case ParamKind::Number:
            values.set(param.key, text, parseNumber(filter, param, text), given);
            return;
        case ParamKind::Switch: {
            const double on = parseSwitch(filter, param, text);
            values.set(param.key, on != 0.0 ? "on" : "off", on, given);
            return;
        }
        case ParamKind::Choice:
            if (std::find(param.choices.begin(), param.choices.end(), lowercase(text)) ==
                param.choices.end())
                throw UsageError(filter + ": " + param.key + "=" + text + " is not one of " +
                                 joined(param.choices));
            values.set(param.key, lowercase(text), 0.0, given);
            return;
        case ParamKind::Path:
            if (given && text.empty()) throw UsageError(filter + ": " + param.key + " needs a file name");
            values.set(param.key, text, 0.0, given);
            return;
    }
}

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::string part;
    std::istringstream stream(text);
    while (std::getline(stream, part, separator)) parts.push_back(part);
    if (!text.empty() && text.back() == separator) parts.emplace_back();
    return parts;
}

std::string keyList(const FilterEntry& entry) {
    std::vector<std::string> keys;
    for (const ParamDef& param : entry.params) keys.push_back(param.key);
    return keys.empty() ? "no parameters" : "the parameters " + joined(keys);
}

const ParamDef& paramFor(const FilterEntry& entry, const std::string& key, const std::string& item) {
    if (key.empty()) throw UsageError(entry.name + ": '" + item + "' needs the form parameter=value");
    const ParamDef* param = entry.findParam(key);
    if (param == nullptr)
        throw UsageError(entry.name + ": unknown parameter '" + key + "' (" + entry.name + " takes " +
                         keyList(entry) + ")");
    return *param;
}

// "KEY=VALUE,..." after the filter's name; a bare VALUE sets the positional key.
ParamValues parseSettings(const FilterEntry& entry, const std::string& settings) {
    ParamValues values;
    for (const ParamDef& param : entry.params) setValue(entry.name, param, param.defaultValue, false, values);
    if (settings.empty()) return values;

    std::vector<std::string> seen;
    for (const std::string& item : split(settings, ',')) {
        if (item.empty()) throw UsageError(entry.name + ": empty setting in '" + settings + "'");
        const size_t equals = item.find('=');
        const bool bare = equals == std::string::npos;
        const ParamDef& param = paramFor(entry, bare ? entry.positional : item.substr(0, equals), item);
        if (std::find(seen.begin(), seen.end(), param.key) != seen.end())
            throw UsageError(entry.name + ": " + param.key + " is given twice");
        seen.push_back(param.key);
        setValue(entry.name, param, bare ? item : item.substr(equals + 1), true, values);
    }
    return values;
}

// Filters whose instances share process-wide state would disturb each other
// within one chain: the second would reset or retune the first.
void refuseSharedStateTwice(const std::vector<ChainStep>& steps) {
    for (size_t i = 0; i < steps.size(); ++i) {
        const FilterEntry& entry = *steps[i].entry;
        if (entry.sharedState.empty()) continue;
        for (size_t j = i + 1; j < steps.size(); ++j)
            if (steps[j].entry == &entry)
                throw UsageError("the chain holds " + entry.name + " twice, but every " +
                                 entry.name + " shares one process-wide " + entry.sharedState +
                                 ", so a second one would disturb the first: give one " +
                                 entry.name + " all its settings");
    }
}

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

std::vector<ChainStep> parseChain(const std::string& text) {
    std::vector<ChainStep> steps;
    std::istringstream words(text);
    std::string word;
    while (words >> word) {
        const size_t colon = word.find(':');
        const std::string name = lowercase(word.substr(0, colon));
        const FilterEntry* entry = findFilter(name);
        if (entry == nullptr)
            throw UsageError("unknown filter '" + name + "' in the chain ('quorvex list' shows the filters)");
        const std::string settings = colon == std::string::npos ? "" : word.substr(colon + 1);
        steps.push_back(ChainStep{entry, parseSettings(*entry, settings)});
    }
    if (steps.empty()) throw UsageError("the chain is empty: name at least one filter");
    if (steps.size() > kMaxChainLength)
        throw UsageError("the chain has " + std::to_string(steps.size()) + " filters; at most " +
                         std::to_string(kMaxChainLength) + " can run in one chain");
    refuseSharedStateTwice(steps);
    for (const ChainStep& step : steps)
        if (step.entry->buildInteger && steps.size() > 1)
            throw UsageError(step.entry->name + " works on integer PCM by itself and cannot share a chain");
    return steps;
}

Chain::Chain(const std::vector<ChainStep>& steps, StreamFormat input) : formats{input} {
    if (steps.front().entry->buildInteger) {
        BuiltIntegerFilter built = steps.front().entry->buildInteger(steps.front().values, input);
        integerOnly = std::move(built.filter);
        formats.push_back(built.output);
        return;
    }
    for (const ChainStep& step : steps) {
        BuiltFilter built = step.entry->build(step.values, formats.back());
        members.push_back(std::move(built.filter));
        formats.push_back(built.output);
        latency += built.latencySeconds;
    }
    if (members.size() > 1) composition = compose(members);
}

Chain::~Chain() = default;

RealAudioFilter& Chain::outermost() { return composition ? *composition : *members.front(); }

double Chain::widestRateRatio() const {
    int widest = 0;
    for (const StreamFormat& format : formats) widest = std::max(widest, format.rate);
    return static_cast<double>(widest) / formats.front().rate;
}

int Chain::wholeBlockFrames(int most) const {
    const long long in = formats.front().rate;
    long long step = 1;
    for (const StreamFormat& format : formats) {
        step = std::lcm(step, 2 * in / std::gcd(in, static_cast<long long>(format.rate)));
        if (step > most) return most;
    }
    return static_cast<int>(most / step * step);
}

std::string Chain::name() { return integerOnly ? integerOnly->getName() : outermost().getName(); }
