#ifndef QUORVEX_CHAIN_REGISTRY_H
#define QUORVEX_CHAIN_REGISTRY_H

// The filters a chain can hold. Each lives in its own file under filters/ and
// hands over one FilterEntry: what filters() shows of it and the factory that
// builds the library filter with its parameter block set.

#include <quorvex/chain.h>
#include <quorvex/quorvex.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace quorvex::chain {

Parameter numberParam(std::string key, double min, double max, std::string unit,
                      std::string defaultValue, std::string help);
// A number without fraction: a rate, a length in samples.
Parameter wholeParam(std::string key, double min, double max, std::string unit,
                     std::string defaultValue, std::string help);
Parameter choiceParam(std::string key, std::vector<std::string> choices, std::string help);
Parameter switchParam(std::string key, std::string defaultValue, std::string help);
// "enabled", on unless switched off; off passes the audio through.
Parameter enabledParam();
Parameter pathParam(std::string key, std::string help);
// "bits": the output depth of a converter, "same" as its input or one of `depths`.
Parameter depthParam(std::vector<std::string> depths);
// A default as a user would type it, shortest first ("4228", "1.52587890625e-07").
std::string numberText(double value);

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
    FilterInfo info;
    // Builds the filter for a stream arriving in `input`; throws StreamError
    // when the filter cannot work on that stream.
    std::function<BuiltFilter(const Settings&, const StreamFormat& input)> build;
    // Instead of `build`, for an integer-only filter.
    std::function<BuiltIntegerFilter(const Settings&, const StreamFormat& input)> buildInteger =
        nullptr;
    // What `build` writes into the block, from numbers alone; the builders
    // go through it too, so both ways of setting a filter agree.
    BlockWriter writer{};
};

// The entry filters() shows as `info`.
const FilterEntry& entryFor(const FilterInfo& info);

// The numbers a BlockWriter takes for `settings` of a filter with `params`.
std::vector<double> numbersOf(const std::vector<Parameter>& params, const Settings& settings);

// The depth a depthParam asks for, given the converter's input.
int chosenDepth(const Settings& settings, const StreamFormat& input);

// The highest rate resample raises `input` to without leaving its images.
long long highestCleanRate(long long input);

// Twice `rate`, formed in 64 bits; a StreamError naming `filter` when no
// stream can carry the result.
int doubledRate(const std::string& filter, int rate);

// What to put in front of a filter to bring a stream at `rate` to one of
// `rates`: "resample:48000", "velmo:enhance=off" (doubling, unless
// `mayDouble` is false), both, or "" when neither reaches one.
std::string stepsToReach(int rate, const std::vector<int>& rates, bool mayDouble = true);

// Throws unless the stream's rate is one of `rates`, saying what to put
// first; `hint` ends the message. `mayDouble` as for stepsToReach.
void requireRate(const std::string& filter, const StreamFormat& input, std::vector<int> rates,
                 const std::string& hint = "", bool mayDouble = true);

// The parameter block of one filter: read from the filter, changed field by
// field, handed back. A refusal by the filter is reported as a StreamError.
class ParamBlock {
public:
    ParamBlock(RealAudioFilter& filter, unsigned long id, int size);

    void setByte(int offset, unsigned char value);
    void setInt(int offset, int32_t value);
    // The bytes as they stand, for a BlockWriter or writeSection.
    unsigned char* data() { return bytes.data(); }
    void apply(const std::string& filterName);

private:
    RealAudioFilter& filter;
    unsigned long id;
    std::vector<unsigned char> bytes;
};

// One entry per filter file.
FilterEntry alcEntry();
FilterEntry decimateEntry();
FilterEntry eqEntry();
FilterEntry gainEntry();
FilterEntry holdEntry();
FilterEntry hpeqEntry();
FilterEntry personalizeEntry();
FilterEntry resampleEntry();
FilterEntry surroundEntry();
FilterEntry velmoEntry();

}  // namespace quorvex::chain

#endif
