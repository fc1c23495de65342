#ifndef QUORVEX_LV2_PORTS_H
#define QUORVEX_LV2_PORTS_H

// The plug-ins of the quorvex.lv2 bundle and their ports, taken from the chain
// layer's filters so that a control means here what the same key means in a
// chain. The Turtle generator and the plug-ins both read this table.

#include <quorvex/chain.h>

#include <string>
#include <vector>

namespace quorvex::lv2 {

enum class ControlRole {
    Value,        // one of the filter's parameters, values[index]
    Stage,        // a surround stage's strength: 0 switches the stage off
    SectionFreq,  // of peaking section `index`
    SectionGain,
    SectionQ,
};

struct ControlPort {
    std::string symbol;
    std::string name;
    std::string comment;
    double min = 0.0;
    double max = 1.0;
    double defaultValue = 0.0;
    std::string unit;  // as the chain layer writes it; empty: an amount
    bool integer = false;
    bool toggle = false;
    bool enables = false;              // the lv2:enabled designation
    bool highRatesOnly = false;        // does nothing at 44.1 and 48 kHz
    std::vector<std::string> choices;  // an enumeration, values 0, 1, ...
    ControlRole role = ControlRole::Value;
    int index = 0;

    // A port's float as the filter may take it: the decimal number the float
    // was written from (0.3, not 0.300000012), within range, whole where it
    // must be, the default for NaN or for the default's own float.
    double sanitize(float port) const;
};

struct Plugin {
    std::string uri;
    std::string name;
    std::string description;
    const chain::FilterInfo* filter;  // of chain::filters()
    int channels;                     // 1: mono, fed to both of the filter's channels
    std::vector<ControlPort> controls;
    int sections = 0;  // peaking sections the controls design
    // The section offsets within the filter's block, one per section.
    std::vector<int> sectionOffsets;

    // Audio ports come first: the inputs, then the outputs.
    int firstControl() const { return 2 * channels; }
};

inline constexpr char kBundleUri[] = "urn:quorvex:lv2";

// Every plug-in of the bundle, in a fixed order: lv2_descriptor's index.
const std::vector<Plugin>& plugins();

}  // namespace quorvex::lv2

#endif
