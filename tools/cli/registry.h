#ifndef QUORVEX_CLI_REGISTRY_H
#define QUORVEX_CLI_REGISTRY_H

// The filters the tool can put into a chain. Each lives in its own file under
// filters/ and registers one FilterEntry: its name, its parameters in the
// units a user thinks in, where it acts, and a factory that builds the
// library filter with its parameter block set.

#include <quorvex/quorvex.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

// What flows between two filters: the rate of the double samples and the
// integer depth they came from or are to become.
struct StreamFormat {
    int rate;
    int bits;
};

enum class ParamKind { Number, Choice, Switch, Path };

struct ParamDef {
    std::string key;
    ParamKind kind = ParamKind::Number;
    std::string defaultValue;  // as a user would type it; empty: not set
    std::string help;
    double min = 0.0;  // Number only
    double max = 0.0;
    bool whole = false;  // Number only: no fraction allowed
    std::string unit;                  // Number only: "dB", "Hz", ...
    std::vector<std::string> choices;  // Choice only
};

ParamDef numberParam(std::string key, double min, double max, std::string unit,
                      std::string defaultValue, std::string help);
// A number without fraction: a rate, a length in samples.
ParamDef wholeParam(std::string key, double min, double max, std::string unit,
                     std::string defaultValue, std::string help);
ParamDef choiceParam(std::string key, std::vector<std::string> choices, std::string help);
ParamDef switchParam(std::string key, std::string defaultValue, std::string help);
ParamDef pathParam(std::string key, std::string help);
// "bits": the output depth of a converter, "same" as its input or one of `depths`.
ParamDef depthParam(std::vector<std::string> depths);

// "MIN to MAX UNIT" of a number parameter.
std::string rangeText(const ParamDef& param);

// The checked settings of one chain entry, with defaults for what was not given.
class ParamValues {
public:
    void set(const std::string& key, std::string text, double number, bool given);

    double number(const std::string& key) const;
    bool isOn(const std::string& key) const;
    const std::string& text(const std::string& key) const;
    bool given(const std::string& key) const;

private:
    struct Value {
        std::string text;
        double number;
        bool given;
    };
    const Value& at(const std::string& key) const;
    std::map<std::string, Value> values;
};

struct BuiltFilter {
    std::unique_ptr<RealAudioFilter> filter;
    StreamFormat output;
    double latencySeconds = 0.0;  // how much later than its input the output comes
};

struct BuiltIntegerFilter {
    std::unique_ptr<IntAudioFilter> filter;
    StreamFormat output;
};

struct FilterEntry {
    std::string name;
    std::string summary;
    std::string rates;  // where the filter acts, as `list` shows it
    // The process-wide state every instance of the filter type shares, in a
    // few words; empty when instances are independent.
    std::string sharedState;
    std::string positional;  // the key a bare value sets ("resample:48000"), or empty
    std::vector<ParamDef> params;
    // Builds the filter for a stream arriving in `input`; throws CliError when
    // the filter cannot work on that stream.
    std::function<BuiltFilter(const ParamValues&, const StreamFormat& input)> build;
    // Instead of `build`, for a filter over integer PCM: it runs alone, on
    // integer sources only.
    std::function<BuiltIntegerFilter(const ParamValues&, const StreamFormat& input)> buildInteger = nullptr;

    const ParamDef* findParam(const std::string& key) const;
};

// A filter file registers its entry through one static instance.
struct FilterRegistration {
    explicit FilterRegistration(FilterEntry entry);
};

// Every registered entry, ordered by name.
const std::vector<FilterEntry>& filterRegistry();
const FilterEntry* findFilter(const std::string& name);

// The depth a depthParam asks for, given the converter's input.
int chosenDepth(const ParamValues& values, const StreamFormat& input);

// Throws unless the stream's rate is one of `rates`; `hint` ends the message.
void requireRate(const std::string& filter, const StreamFormat& input, std::vector<int> rates,
                 const std::string& hint = "");

// The parameter block of one filter: read from the filter, changed field by
// field, handed back. A refusal by the filter is reported as a CliError.
class ParamBlock {
public:
    ParamBlock(RealAudioFilter& filter, unsigned long id, int size);

    void setByte(int offset, unsigned char value);
    void setInt(int offset, int32_t value);
    void setDouble(int offset, double value);
    void apply(const std::string& filterName);

private:
    RealAudioFilter& filter;
    unsigned long id;
    std::vector<unsigned char> bytes;
};

#endif
