// The text of a chain: filters separated by spaces, each NAME[:KEY=VALUE,...]
// or NAME:VALUE for the filter's positional key.
#include "registry.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <sstream>

namespace quorvex::chain {

namespace {

std::string lowercase(std::string text) {
    for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

bool endsWith(const std::string& text, const std::string& tail) {
    return text.size() >= tail.size() &&
           text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : ", ") + word;
    return text;
}

// A number with an optional unit after it ("+3", "-2dB", "48k", "48000Hz").
double parseNumber(const std::string& filter, const Parameter& param, const std::string& text) {
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
        throw SyntaxError(filter + ": " + param.key + "=" + text + " is not a number");
    if (param.whole && value != std::floor(value))
        throw SyntaxError(filter + ": " + param.key + "=" + text + " must be a whole number");
    if (value < param.min || value > param.max)
        throw SyntaxError(filter + ": " + param.key + "=" + text +
                          " is out of range: " + param.key + " takes " + rangeText(param));
    return value;
}

double parseSwitch(const std::string& filter, const Parameter& param, const std::string& text) {
    const std::string word = lowercase(text);
    if (word == "on") return 1.0;
    if (word == "off") return 0.0;
    throw SyntaxError(filter + ": " + param.key + "=" + text + " must be on or off");
}

void setValue(const std::string& filter, const Parameter& param, const std::string& text,
              bool given, Settings& settings) {
    if (!given && text.empty()) {  // no default: the filter decides
        settings.set(param.key, "", 0.0, false);
        return;
    }
    switch (param.kind) {
        case ParamKind::Number:
            settings.set(param.key, text, parseNumber(filter, param, text), given);
            return;
        case ParamKind::Switch: {
            const double on = parseSwitch(filter, param, text);
            settings.set(param.key, on != 0.0 ? "on" : "off", on, given);
            return;
        }
        case ParamKind::Choice:
            if (std::find(param.choices.begin(), param.choices.end(), lowercase(text)) ==
                param.choices.end())
                throw SyntaxError(filter + ": " + param.key + "=" + text + " is not one of " +
                                  joined(param.choices));
            settings.set(param.key, lowercase(text), 0.0, given);
            return;
        case ParamKind::Path:
            if (given && text.empty())
                throw SyntaxError(filter + ": " + param.key + " needs a file name");
            settings.set(param.key, text, 0.0, given);
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

std::string keyList(const FilterInfo& filter) {
    std::vector<std::string> keys;
    for (const Parameter& param : filter.params) keys.push_back(param.key);
    return keys.empty() ? "no parameters" : "the parameters " + joined(keys);
}

const Parameter& paramFor(const FilterInfo& filter, const std::string& key,
                          const std::string& item) {
    if (key.empty())
        throw SyntaxError(filter.name + ": '" + item + "' needs the form parameter=value");
    const Parameter* param = filter.findParam(key);
    if (param == nullptr)
        throw SyntaxError(filter.name + ": unknown parameter '" + key + "' (" + filter.name +
                          " takes " + keyList(filter) + ")");
    return *param;
}

// "KEY=VALUE,..." after the filter's name; a bare VALUE sets the positional key.
Settings parseSettings(const FilterInfo& filter, const std::string& text) {
    Settings settings;
    for (const Parameter& param : filter.params)
        setValue(filter.name, param, param.defaultValue, false, settings);
    if (text.empty()) return settings;

    std::vector<std::string> seen;
    for (const std::string& item : split(text, ',')) {
        if (item.empty()) throw SyntaxError(filter.name + ": empty setting in '" + text + "'");
        const size_t equals = item.find('=');
        const bool bare = equals == std::string::npos;
        const Parameter& param =
            paramFor(filter, bare ? filter.positional : item.substr(0, equals), item);
        if (std::find(seen.begin(), seen.end(), param.key) != seen.end())
            throw SyntaxError(filter.name + ": " + param.key + " is given twice");
        seen.push_back(param.key);
        setValue(filter.name, param, bare ? item : item.substr(equals + 1), true, settings);
    }
    return settings;
}

// Filters whose instances share process-wide state would disturb each other
// within one chain: the second would reset or retune the first.
void refuseSharedStateTwice(const std::vector<Step>& steps) {
    for (size_t i = 0; i < steps.size(); ++i) {
        const FilterInfo& filter = *steps[i].filter;
        if (filter.sharedState.empty()) continue;
        for (size_t j = i + 1; j < steps.size(); ++j)
            if (steps[j].filter == &filter)
                throw SyntaxError("the chain holds " + filter.name + " twice, but every " +
                                  filter.name + " shares one process-wide " + filter.sharedState +
                                  ", so a second one would disturb the first: give one " +
                                  filter.name + " all its settings");
    }
}

}  // namespace

std::vector<Step> parse(const std::string& text) {
    std::vector<Step> steps;
    std::istringstream words(text);
    std::string word;
    while (words >> word) {
        const size_t colon = word.find(':');
        const std::string name = lowercase(word.substr(0, colon));
        const FilterInfo* filter = findFilter(name);
        if (filter == nullptr)
            throw SyntaxError("unknown filter '" + name +
                              "' in the chain ('quorvex list' shows the filters)");
        const std::string settings = colon == std::string::npos ? "" : word.substr(colon + 1);
        steps.push_back(Step{filter, parseSettings(*filter, settings)});
    }
    if (steps.empty()) throw SyntaxError("the chain is empty: name at least one filter");
    if (steps.size() > kMaxChainLength)
        throw SyntaxError("the chain has " + std::to_string(steps.size()) + " filters; at most " +
                          std::to_string(kMaxChainLength) + " can run in one chain");
    refuseSharedStateTwice(steps);
    for (const Step& step : steps)
        if (step.filter->integerOnly && steps.size() > 1)
            throw SyntaxError(step.filter->name +
                              " works on integer PCM by itself and cannot share a chain");
    return steps;
}

}  // namespace quorvex::chain
