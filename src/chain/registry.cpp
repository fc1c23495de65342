#include "registry.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace quorvex::chain {

namespace {

Parameter makeParam(std::string key, ParamKind kind, std::string defaultValue, std::string help) {
    Parameter param;
    param.key = std::move(key);
    param.kind = kind;
    param.defaultValue = std::move(defaultValue);
    param.help = std::move(help);
    return param;
}

}  // namespace

Parameter numberParam(std::string key, double min, double max, std::string unit,
                      std::string defaultValue, std::string help) {
    Parameter param =
        makeParam(std::move(key), ParamKind::Number, std::move(defaultValue), std::move(help));
    param.min = min;
    param.max = max;
    param.unit = std::move(unit);
    return param;
}

Parameter wholeParam(std::string key, double min, double max, std::string unit,
                     std::string defaultValue, std::string help) {
    Parameter param = numberParam(std::move(key), min, max, std::move(unit),
                                  std::move(defaultValue), std::move(help));
    param.whole = true;
    return param;
}

Parameter choiceParam(std::string key, std::vector<std::string> choices, std::string help) {
    Parameter param =
        makeParam(std::move(key), ParamKind::Choice, choices.front(), std::move(help));
    param.choices = std::move(choices);
    return param;
}

Parameter switchParam(std::string key, std::string defaultValue, std::string help) {
    return makeParam(std::move(key), ParamKind::Switch, std::move(defaultValue), std::move(help));
}

Parameter enabledParam() {
    return switchParam("enabled", "on", "off passes the audio through unchanged");
}

Parameter pathParam(std::string key, std::string help) {
    return makeParam(std::move(key), ParamKind::Path, "", std::move(help));
}

Parameter depthParam(std::vector<std::string> depths) {
    depths.insert(depths.begin(), "same");
    return choiceParam("bits", std::move(depths), "output depth");
}

std::string numberText(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.12g", value);
    return text;
}

std::vector<double> numbersOf(const std::vector<Parameter>& params, const Settings& settings) {
    std::vector<double> values;
    for (const Parameter& param : params) {
        if (param.kind == ParamKind::Path) {
            values.push_back(std::nan(""));
        } else if (param.kind == ParamKind::Choice) {
            const auto& choices = param.choices;
            const auto chosen = std::find(choices.begin(), choices.end(), settings.text(param.key));
            values.push_back(static_cast<double>(chosen - choices.begin()));
        } else {
            values.push_back(settings.number(param.key));
        }
    }
    return values;
}

int chosenDepth(const Settings& settings, const StreamFormat& input) {
    return settings.text("bits") == "same" ? input.bits : std::stoi(settings.text("bits"));
}

std::string rangeText(const Parameter& param) {
    char text[96];
    std::snprintf(text, sizeof text, "%g to %g%s%s", param.min, param.max,
                  param.unit.empty() ? "" : " ", param.unit.c_str());
    return text;
}

void Settings::set(const std::string& key, std::string text, double number, bool given) {
    values[key] = Value{std::move(text), number, given};
}

const Settings::Value& Settings::at(const std::string& key) const {
    const auto found = values.find(key);
    if (found == values.end()) throw std::logic_error("no parameter " + key);
    return found->second;
}

double Settings::number(const std::string& key) const { return at(key).number; }
bool Settings::isOn(const std::string& key) const { return at(key).number != 0.0; }
const std::string& Settings::text(const std::string& key) const { return at(key).text; }
bool Settings::given(const std::string& key) const { return at(key).given; }

const Parameter* FilterInfo::findParam(const std::string& key) const {
    for (const Parameter& param : params)
        if (param.key == key) return &param;
    return nullptr;
}

namespace {

// An explicit table built on first use: no filter depends on the order in
// which static objects of a shared library come to life.
struct Registry {
    std::vector<FilterEntry> entries;  // ordered by name
    std::vector<FilterInfo> infos;     // the same order
};

Registry makeRegistry() {
    Registry registry;
    registry.entries = {alcEntry(),      decimateEntry(), eqEntry(),          gainEntry(),
                        holdEntry(),     hpeqEntry(),     personalizeEntry(), resampleEntry(),
                        surroundEntry(), velmoEntry()};
    std::sort(registry.entries.begin(), registry.entries.end(),
              [](const FilterEntry& a, const FilterEntry& b) { return a.info.name < b.info.name; });
    for (FilterEntry& entry : registry.entries) {
        entry.info.integerOnly = static_cast<bool>(entry.buildInteger);
        registry.infos.push_back(entry.info);
    }
    return registry;
}

const Registry& registry() {
    static const Registry table = makeRegistry();
    return table;
}

}  // namespace

const std::vector<FilterInfo>& filters() { return registry().infos; }

const FilterInfo* findFilter(const std::string& name) {
    for (const FilterInfo& info : filters())
        if (info.name == name) return &info;
    return nullptr;
}

const FilterEntry& entryFor(const FilterInfo& info) {
    const std::vector<FilterInfo>& infos = registry().infos;
    if (&info < infos.data() || &info >= infos.data() + infos.size())
        throw std::logic_error(info.name + " is not one of filters()");
    return registry().entries[static_cast<size_t>(&info - infos.data())];
}

const BlockWriter& blockWriter(const FilterInfo& info) { return entryFor(info).writer; }

namespace {

// A converter between rates in a whole ratio (88200 to 44100) keeps the
// timing simplest and is what a user would pick.
bool inWholeRatio(long long a, long long b) { return std::max(a, b) % std::min(a, b) == 0; }

// The rate of `rates` resample reaches cleanly from `from`, preferring one in
// a whole ratio, then the nearest; 0 when none is in reach.
int resampleTarget(long long from, const std::vector<int>& rates) {
    int best = 0;
    for (int rate : rates) {
        if (rate > highestCleanRate(from)) continue;
        const bool closer = best == 0 || inWholeRatio(rate, from) > inWholeRatio(best, from) ||
                            (inWholeRatio(rate, from) == inWholeRatio(best, from) &&
                             std::abs(rate - from) < std::abs(best - from));
        if (closer) best = rate;
    }
    return best;
}

}  // namespace

int doubledRate(const std::string& filter, int rate) {
    const long long doubled = 2LL * rate;
    if (doubled > std::numeric_limits<int>::max())
        throw StreamError(filter + " would double " + std::to_string(rate) +
                          " Hz beyond the highest rate a stream can carry");
    return static_cast<int>(doubled);
}

std::string stepsToReach(int rate, const std::vector<int>& rates, bool mayDouble) {
    const std::string doubling = "velmo:enhance=off";
    if (mayDouble && std::find(rates.begin(), rates.end(), 2LL * rate) != rates.end())
        return doubling;
    if (const int target = resampleTarget(rate, rates)) return "resample:" + std::to_string(target);
    if (const int target = mayDouble ? resampleTarget(2LL * rate, rates) : 0)
        return doubling + " resample:" + std::to_string(target);
    return "";
}

void requireRate(const std::string& filter, const StreamFormat& input, std::vector<int> rates,
                 const std::string& hint, bool mayDouble) {
    for (int rate : rates)
        if (rate == input.rate) return;
    std::string list;
    for (size_t i = 0; i < rates.size(); ++i)
        list += (i == 0 ? "" : i + 1 == rates.size() ? " or " : ", ") + std::to_string(rates[i]);
    const std::string steps = stepsToReach(input.rate, rates, mayDouble);
    throw StreamError(filter + " works at " + list + " Hz, not at the " +
                      std::to_string(input.rate) + " Hz this stream has at that point" +
                      (steps.empty() ? "" : "; put " + steps + " first") + hint);
}

ParamBlock::ParamBlock(RealAudioFilter& filter, unsigned long id, int size)
    : filter(filter), id(id), bytes(size) {
    if (filter.getParamData(id, bytes.data(), size) != size)
        throw std::logic_error("parameter block of unexpected size");
}

namespace {

template <typename T>
void putField(std::vector<unsigned char>& bytes, int offset, T value) {
    if (offset < 0 || offset + sizeof value > bytes.size())
        throw std::logic_error("field outside the parameter block");
    std::memcpy(bytes.data() + offset, &value, sizeof value);
}

}  // namespace

void ParamBlock::setByte(int offset, unsigned char value) { putField(bytes, offset, value); }
void ParamBlock::setInt(int offset, int32_t value) { putField(bytes, offset, value); }

void ParamBlock::apply(const std::string& filterName) {
    const int size = static_cast<int>(bytes.size());
    if (filter.setParamData(id, bytes.data(), size) != size)
        throw StreamError(filterName + ": the filter refused these settings");
}

}  // namespace quorvex::chain
