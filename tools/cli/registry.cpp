#include "registry.h"

#include "error.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

ParamDef makeParam(std::string key, ParamKind kind, std::string defaultValue, std::string help) {
    ParamDef param;
    param.key = std::move(key);
    param.kind = kind;
    param.defaultValue = std::move(defaultValue);
    param.help = std::move(help);
    return param;
}

}  // namespace

ParamDef numberParam(std::string key, double min, double max, std::string unit,
                      std::string defaultValue, std::string help) {
    ParamDef param = makeParam(std::move(key), ParamKind::Number, std::move(defaultValue), std::move(help));
    param.min = min;
    param.max = max;
    param.unit = std::move(unit);
    return param;
}

ParamDef wholeParam(std::string key, double min, double max, std::string unit,
                     std::string defaultValue, std::string help) {
    ParamDef param = numberParam(std::move(key), min, max, std::move(unit), std::move(defaultValue),
                                 std::move(help));
    param.whole = true;
    return param;
}

ParamDef choiceParam(std::string key, std::vector<std::string> choices, std::string help) {
    ParamDef param = makeParam(std::move(key), ParamKind::Choice, choices.front(), std::move(help));
    param.choices = std::move(choices);
    return param;
}

ParamDef switchParam(std::string key, std::string defaultValue, std::string help) {
    return makeParam(std::move(key), ParamKind::Switch, std::move(defaultValue), std::move(help));
}

ParamDef pathParam(std::string key, std::string help) {
    return makeParam(std::move(key), ParamKind::Path, "", std::move(help));
}

ParamDef depthParam(std::vector<std::string> depths) {
    depths.insert(depths.begin(), "same");
    return choiceParam("bits", std::move(depths), "output depth");
}

int chosenDepth(const ParamValues& values, const StreamFormat& input) {
    return values.text("bits") == "same" ? input.bits : std::stoi(values.text("bits"));
}

std::string rangeText(const ParamDef& param) {
    char text[96];
    std::snprintf(text, sizeof text, "%g to %g%s%s", param.min, param.max, param.unit.empty() ? "" : " ",
                  param.unit.c_str());
    return text;
}

void ParamValues::set(const std::string& key, std::string text, double number, bool given) {
    values[key] = Value{std::move(text), number, given};
}

const ParamValues::Value& ParamValues::at(const std::string& key) const {
    const auto found = values.find(key);
    if (found == values.end()) throw std::logic_error("no parameter " + key);
    return found->second;
}

double ParamValues::number(const std::string& key) const { return at(key).number; }
bool ParamValues::isOn(const std::string& key) const { return at(key).number != 0.0; }
const std::string& ParamValues::text(const std::string& key) const { return at(key).text; }
bool ParamValues::given(const std::string& key) const { return at(key).given; }

const ParamDef* FilterEntry::findParam(const std::string& key) const {
    for (const ParamDef& param : params)
        if (param.key == key) return &param;
    return nullptr;
}

namespace {

std::vector<FilterEntry>& registry() {
    static std::vector<FilterEntry> entries;
    return entries;
}

}  // namespace

FilterRegistration::FilterRegistration(FilterEntry entry) {
    auto& entries = registry();
    const auto place = std::lower_bound(
        entries.begin(), entries.end(), entry.name,
        [](const FilterEntry& e, const std::string& name) { return e.name < name; });
    entries.insert(place, std::move(entry));
}

const std::vector<FilterEntry>& filterRegistry() { return registry(); }

const FilterEntry* findFilter(const std::string& name) {
    for (const FilterEntry& entry : registry())
        if (entry.name == name) return &entry;
    return nullptr;
}

ParamBlock::ParamBlock(RealAudioFilter& filter, unsigned long id, int size)
    : filter(filter), id(id), bytes(size) {
    if (filter.getParamData(id, bytes.data(), size) != size)
        throw std::logic_error("parameter block of unexpected size");
}

void requireRate(const std::string& filter, const StreamFormat& input, std::vector<int> rates,
                 const std::string& hint) {
    for (int rate : rates)
        if (rate == input.rate) return;
    std::string list;
    for (size_t i = 0; i < rates.size(); ++i)
        list += (i == 0 ? "" : i + 1 == rates.size() ? " or " : ", ") + std::to_string(rates[i]);
    throw CliError(filter + " works at " + list + " Hz, not at the " + std::to_string(input.rate) +
                   " Hz this stream has at that point" +
                   hint);
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
void ParamBlock::setDouble(int offset, double value) { putField(bytes, offset, value); }

void ParamBlock::apply(const std::string& filterName) {
    const int size = static_cast<int>(bytes.size());
    if (filter.setParamData(id, bytes.data(), size) != size)
        throw CliError(filterName + ": the filter refused these settings");
}
