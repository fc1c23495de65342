#include "ports.h"

#include <quorvex/ParamBlocks.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <stdexcept>

namespace quorvex::lv2 {

namespace {

using chain::FilterInfo;
using chain::Parameter;
using chain::ParamKind;

// A key as a port symbol: a C identifier ("2.5k" becomes "_2_5k").
std::string symbolFor(const std::string& key) {
    std::string symbol = std::isdigit(static_cast<unsigned char>(key.front())) ? "_" : "";
    for (char c : key) symbol += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
    return symbol;
}

std::string nameFor(const std::string& key) {
    std::string name = key;
    std::replace(name.begin(), name.end(), '-', ' ');
    name.front() = static_cast<char>(std::toupper(static_cast<unsigned char>(name.front())));
    return name;
}

bool isStage(const FilterInfo& filter, const Parameter& param) {
    static const char* const kStages[] = {"hall", "natural", "live", "wide", "echo", "3d"};
    return filter.name == "surround" &&
           std::find_if(std::begin(kStages), std::end(kStages),
                        [&](const char* stage) { return param.key == stage; }) != std::end(kStages);
}

ControlPort controlFor(const FilterInfo& filter, const Parameter& param, int index) {
    ControlPort port;
    port.symbol = symbolFor(param.key);
    port.name = nameFor(param.key);
    port.comment = param.help;
    port.index = index;
    switch (param.kind) {
        case ParamKind::Switch:
            port.toggle = port.integer = true;
            port.enables = param.key == "enabled";
            port.defaultValue = param.defaultValue == "on" ? 1.0 : 0.0;
            break;
        case ParamKind::Choice:
            port.integer = true;
            port.choices = param.choices;
            port.max = static_cast<double>(param.choices.size() - 1);
            break;
        default:
            port.min = param.min;
            port.max = param.max;
            port.unit = param.unit;
            port.integer = param.whole;
            port.defaultValue = std::strtod(param.defaultValue.c_str(), nullptr);
    }
    if (isStage(filter, param)) {
        port.role = ControlRole::Stage;
        port.comment += "; 0 switches the stage off (all off: the hall alone)";
        if (param.key != "hall") port.defaultValue = 0.0;
    }
    return port;
}

// Frequency, gain and Q of one peaking section; `prefix` names the section.
void addSection(Plugin& plugin, const std::string& prefix, const std::string& what) {
    const int index = plugin.sections++;
    ControlPort freq;
    freq.symbol = prefix + "_freq";
    freq.name = nameFor(prefix) + " frequency";
    freq.comment = what + ": centre frequency";
    freq.min = 20.0;
    freq.max = 40000.0;
    freq.defaultValue = 1000.0;
    freq.unit = "Hz";
    freq.role = ControlRole::SectionFreq;
    freq.index = index;
    ControlPort gain = freq;
    gain.symbol = prefix + "_gain";
    gain.name = nameFor(prefix) + " gain";
    gain.comment = what + ": gain at the centre (0 dB: the section passes)";
    gain.min = -24.0;
    gain.max = 24.0;
    gain.defaultValue = 0.0;
    gain.unit = "dB";
    gain.role = ControlRole::SectionGain;
    ControlPort q = freq;
    q.symbol = prefix + "_q";
    q.name = nameFor(prefix) + " Q";
    q.comment = what + ": quality, centre frequency over bandwidth";
    q.min = 0.1;
    q.max = 10.0;
    q.defaultValue = 0.7071;
    q.unit = "";
    q.role = ControlRole::SectionQ;
    plugin.controls.insert(plugin.controls.end(), {freq, gain, q});
}

// The equalizer's last bands exist only in its 88.2/96 kHz kernels; at 44.1
// and 48 kHz the filter takes their gains and does nothing with them.
void markHighRateBands(Plugin& plugin) {
    for (ControlPort& port : plugin.controls) {
        const int band = port.index - 1;  // the bands follow the enabled switch
        if (band < equalizer_block::kLowRateBands) continue;
        port.highRatesOnly = true;
        port.comment += "; acts only at 88.2 and 96 kHz: at 44.1 and 48 kHz the band does nothing";
    }
}

std::string descriptionOf(const FilterInfo& filter) {
    std::string text = filter.summary + ". Acts at " + filter.rates +
                       "; at any other rate the audio passes unchanged. A changed control "
                       "takes effect from the next block on: the filter takes its settings "
                       "anew, as at a reset.";
    if (!filter.sharedState.empty())
        text += " The filter's " + filter.sharedState +
                " are shared by the whole process, so only one instance of it can run in a "
                "host at a time: a second one is refused.";
    return text;
}

Plugin pluginFor(const std::string& filterName, int channels) {
    const FilterInfo* filter = chain::findFilter(filterName);
    if (!filter) throw std::logic_error("no filter " + filterName);
    const std::string suffix = channels == 1 ? "-mono" : "";
    Plugin plugin{std::string(kBundleUri) + ":" + filterName + suffix,
                  "Quorvex " + filterName + (channels == 1 ? " (mono)" : ""),
                  descriptionOf(*filter),
                  filter,
                  channels,
                  {},
                  0,
                  {}};
    for (size_t i = 0; i < filter->params.size(); ++i)
        if (filter->params[i].kind != ParamKind::Path)
            plugin.controls.push_back(controlFor(*filter, filter->params[i], static_cast<int>(i)));
    if (filterName == "hpeq") {
        for (int i = 0; i < hpeq_block::kSectionCount; ++i) {
            const std::string number = std::to_string(i + 1);
            addSection(plugin, "section" + number, "section " + number);
            plugin.sectionOffsets.push_back(hpeq_block::sectionOffset(i));
        }
    } else if (filterName == "eq") {
        markHighRateBands(plugin);
    } else if (filterName == "personalize") {
        addSection(plugin, "left", "left channel");
        addSection(plugin, "right", "right channel");
        plugin.sectionOffsets = {personalizer_block::kLeft, personalizer_block::kRight};
    }
    return plugin;
}

// Hosts hold controls as floats, so a 0.3 typed by a person or written in the
// Turtle arrives as 0.300000012. The shortest decimal that gives the float
// back is what was meant, and read as a double it is what the chain layer
// makes of the same text: the plug-in then sounds exactly as the chain does.
double decimalOf(float port) {
    char text[32];
    const auto written = std::to_chars(std::begin(text), std::end(text), port);
    double value = port;
    std::from_chars(std::begin(text), written.ptr, value);
    return value;
}

}  // namespace

double ControlPort::sanitize(float port) const {
    // A default of more digits than a float holds (the level control's
    // recovery) comes back as written, not as the float's shorter decimal.
    if (std::isnan(port) || port == static_cast<float>(defaultValue)) return defaultValue;
    double value = decimalOf(port);
    value = std::clamp(value, min, max);
    return integer ? std::round(value) : value;
}

const std::vector<Plugin>& plugins() {
    static const std::vector<Plugin> table = {
        pluginFor("alc", 2),      pluginFor("alc", 1),  pluginFor("eq", 2),
        pluginFor("eq", 1),       pluginFor("hpeq", 2), pluginFor("personalize", 2),
        pluginFor("surround", 2),
    };
    return table;
}

}  // namespace quorvex::lv2
