// Writes the Turtle metadata of quorvex.lv2 (manifest.ttl and quorvex.ttl)
// from the plug-in table, which takes every control from the chain layer's
// filters: names, ranges, units, defaults and choices are written once.
//
//   quorvex-lv2-ttl OUTPUT_DIR BINARY_NAME
#include "ports.h"

#include <cstdio>
#include <fstream>
#include <iostream>
#include <string>

namespace {

using quorvex::lv2::ControlPort;
using quorvex::lv2::Plugin;

std::string quoted(const std::string& text) {
    std::string out = "\"";
    for (char c : text) {
        if (c == '"' || c == '\\') out += '\\';
        out += c;
    }
    return out + "\"";
}

std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.9g", value);
    std::string out = text;
    // A Turtle decimal needs its point; an exponent form is a double already.
    if (out.find_first_of(".e") == std::string::npos) out += ".0";
    return out;
}

// The units ontology's unit for the chain layer's, or a unit of its own.
std::string unitOf(const std::string& unit) {
    if (unit == "dB") return "units:db";
    if (unit == "Hz") return "units:hz";
    if (unit == "samples") return "units:frame";
    if (unit.empty()) return "units:coef";
    return "[ a units:Unit ; rdfs:label " + quoted(unit) + " ; units:render " +
           quoted("%f " + unit) + " ; units:symbol " + quoted(unit) + " ]";
}

void writeAudioPort(std::ostream& out, int index, bool output, int channel, int channels) {
    static const char* const kSides[] = {"left", "right"};
    const std::string side = channels == 1 ? "" : std::string("_") + kSides[channel];
    const std::string direction = output ? "out" : "in";
    out << "    [\n        a lv2:AudioPort , lv2:" << (output ? "OutputPort" : "InputPort")
        << " ;\n        lv2:index " << index << " ;\n        lv2:symbol \"" << direction << side
        << "\" ;\n        lv2:name "
        << quoted((output ? "Output" : "Input") +
                  (channels == 1 ? std::string() : std::string(" ") + kSides[channel]))
        << " ;\n    ]";
}

void writeControlPort(std::ostream& out, int index, const ControlPort& port) {
    out << "    [\n        a lv2:InputPort , lv2:ControlPort ;\n        lv2:index " << index
        << " ;\n        lv2:symbol " << quoted(port.symbol) << " ;\n        lv2:name "
        << quoted(port.name) << " ;\n        rdfs:comment " << quoted(port.comment)
        << " ;\n        lv2:default " << number(port.defaultValue) << " ;\n        lv2:minimum "
        << number(port.min) << " ;\n        lv2:maximum " << number(port.max) << " ;\n";
    if (port.enables) out << "        lv2:designation lv2:enabled ;\n";
    if (port.toggle) out << "        lv2:portProperty lv2:toggled ;\n";
    if (port.integer) out << "        lv2:portProperty lv2:integer ;\n";
    if (!port.choices.empty()) {
        out << "        lv2:portProperty lv2:enumeration ;\n";
        for (size_t i = 0; i < port.choices.size(); ++i)
            out << "        lv2:scalePoint [ rdfs:label " << quoted(port.choices[i])
                << " ; rdf:value " << i << " ] ;\n";
    } else if (!port.toggle) {
        out << "        units:unit " << unitOf(port.unit) << " ;\n";
    }
    out << "    ]";
}

void writePlugin(std::ostream& out, const Plugin& plugin) {
    out << "<" << plugin.uri << ">\n    a lv2:Plugin , "
        << (plugin.filter->name == "eq" || plugin.filter->name == "hpeq" ? "lv2:EQPlugin"
            : plugin.filter->name == "alc"                               ? "lv2:LimiterPlugin"
            : plugin.filter->name == "surround"                          ? "lv2:ReverbPlugin"
                                                                         : "lv2:FilterPlugin")
        << " ;\n    doap:name " << quoted(plugin.name) << " ;\n    rdfs:comment "
        << quoted(plugin.description)
        << " ;\n    lv2:optionalFeature lv2:hardRTCapable , log:log ;\n    lv2:port\n";
    int index = 0;
    for (bool output : {false, true})
        for (int c = 0; c < plugin.channels; ++c) {
            writeAudioPort(out, index++, output, c, plugin.channels);
            out << " ,\n";
        }
    for (size_t i = 0; i < plugin.controls.size(); ++i) {
        writeControlPort(out, index++, plugin.controls[i]);
        out << (i + 1 < plugin.controls.size() ? " ,\n" : " .\n\n");
    }
}

const char kPrefixes[] =
    "@prefix doap: <http://usefulinc.com/ns/doap#> .\n"
    "@prefix log: <http://lv2plug.in/ns/ext/log#> .\n"
    "@prefix lv2: <http://lv2plug.in/ns/lv2core#> .\n"
    "@prefix rdf: <http://www.w3.org/1999/02/22-rdf-syntax-ns#> .\n"
    "@prefix rdfs: <http://www.w3.org/2000/01/rdf-schema#> .\n"
    "@prefix units: <http://lv2plug.in/ns/extensions/units#> .\n\n";

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: quorvex-lv2-ttl OUTPUT_DIR BINARY_NAME\n";
        return 2;
    }
    const std::string dir = argv[1];
    std::ofstream manifest(dir + "/manifest.ttl");
    std::ofstream plugins(dir + "/quorvex.ttl");
    manifest << kPrefixes;
    plugins << kPrefixes;
    for (const Plugin& plugin : quorvex::lv2::plugins()) {
        manifest << "<" << plugin.uri << ">\n    a lv2:Plugin ;\n    lv2:binary <" << argv[2]
                 << "> ;\n    rdfs:seeAlso <quorvex.ttl> .\n\n";
        writePlugin(plugins, plugin);
    }
    return manifest && plugins ? 0 : 1;
}
