#ifndef QUORVEX_CHAIN_H
#define QUORVEX_CHAIN_H

// The chain layer (libquorvex_chain): chains of the library's filters written
// as text, built for a stream and run over it block by block. Front ends (the
// command-line tool, language bindings, plug-ins) share it so that a chain
// means the same everywhere.
//
//   #include <quorvex/chain.h>
//   namespace qc = quorvex::chain;
//
//   qc::Chain chain("eq:63=+3,1k=-2 velmo:source=mp3", qc::StreamFormat{44100, 16});
//   qc::DoubleRunner runner(chain, /*clip=*/true, [&](const double* stereo, long long frames) {
//       // `frames` stereo frames at chain.output().rate, delay already removed
//   });
//   runner.write(samples, frames);  // interleaved stereo doubles, any count, as often as needed
//   runner.finish();                // flushes the tail: frames out == frames in x rate out / rate
//   in
//
// A chain is filters separated by spaces, each NAME, NAME:KEY=VALUE,... or
// NAME:VALUE for the filter's main parameter; numbers may carry their unit
// (-2dB, 48kHz). filters() lists every filter with its parameters.
//
// Errors are exceptions: SyntaxError for text that cannot be understood,
// StreamError for a chain that cannot work on the stream it is given (a rate
// a filter does not act at, an unreadable coefficient file, a failed block).
// Their messages are one line meant for the user.

#include <quorvex/AudioFilter.h>
#include <quorvex/export.h>

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace quorvex::chain {

class QUORVEX_API SyntaxError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class QUORVEX_API StreamError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The highest input rate a chain accepts: the filters that double the rate
// must still hold the result in an int.
constexpr int kHighestRate = 1073741823;

// The most filters one chain holds.
inline constexpr size_t kMaxChainLength = 10;

// What flows between two filters: the rate of the samples and the integer
// depth they came from or are to become.
struct StreamFormat {
    int rate;
    int bits;
};

enum class ParamKind { Number, Choice, Switch, Path };

// One parameter of a filter, in the units a user thinks in.
struct Parameter {
    std::string key;
    ParamKind kind = ParamKind::Number;
    std::string defaultValue;  // as a user would type it; empty: the filter decides
    std::string help;
    double min = 0.0;  // Number only
    double max = 0.0;
    bool whole = false;                // Number only: no fraction allowed
    std::string unit;                  // Number only: "dB", "Hz", ...
    std::vector<std::string> choices;  // Choice only
};

// "MIN to MAX UNIT" of a number parameter.
QUORVEX_API std::string rangeText(const Parameter& param);

struct FilterInfo {
    std::string name;
    std::string summary;
    std::string rates;  // where the filter acts, in words
    // The process-wide state every instance of the filter shares, in a few
    // words; empty when instances are independent. Such a filter may appear
    // once per chain.
    std::string sharedState;
    std::string positional;  // the key a bare value sets ("resample:48000"), or empty
    std::vector<Parameter> params;
    // Works on integer PCM only, alone in its chain.
    bool integerOnly = false;

    QUORVEX_API const Parameter* findParam(const std::string& key) const;
};

// Settings as numbers alone, for front ends that change them while audio
// runs and must not allocate then (plug-ins). `values` holds one number per
// entry of FilterInfo::params, in order: a number in its unit, a choice as
// the index of its choice, a switch as 0 or 1, a path as NaN. The surround
// reads NaN for a stage as the stage not named (off); every other number
// must be within its range.
struct BlockWriter {
    unsigned long id = 0;  // the block written; 0: the filter has no such writer
    int size = 0;
    // Changes `block`, the filter's block as read from it, in place.
    void (*write)(const double* values, unsigned char* block) = nullptr;
};

// A second-order section (b0 + b1 z^-1 + b2 z^-2) / (1 - a1 z^-1 - a2 z^-2):
// normalised to a0 = 1, with the feedback coefficients negated as the
// library adds them.
struct Section {
    double b0 = 1.0, b1 = 0.0, b2 = 0.0, a1 = 0.0, a2 = 0.0;
};

// Every coefficient within the library's limit and both poles strictly
// inside the unit circle: a section the headphone equalizer and the
// personalizer can run without their output growing without bound.
QUORVEX_API bool sectionAccepted(const Section& section);

// A peaking section at `rate`: `gain` dB at `frequency` Hz, `q` its
// quality (bandwidth = frequency / q); 0 dB passes unchanged.
QUORVEX_API Section peakingSection(double rate, double frequency, double gain, double q);

// Writes a section into a raw parameter block as one coefficient set from
// `offset` on.
QUORVEX_API void writeSection(unsigned char* block, int offset, const Section& section);

// Every filter a chain may hold, ordered by name.
QUORVEX_API const std::vector<FilterInfo>& filters();
// Null for a name no filter has.
QUORVEX_API const FilterInfo* findFilter(const std::string& name);

// The checked settings of one filter in a chain, with defaults for what was not given.
class QUORVEX_API Settings {
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

struct Step {
    const FilterInfo* filter;
    Settings settings;
};

// The filter's writer of numbers into its block; id 0 for one without.
QUORVEX_API const BlockWriter& blockWriter(const FilterInfo& info);

// Checks names, keys, values, ranges and the rules of a chain (a filter with
// shared state at most once, an integer-only filter alone, at most ten
// filters); throws SyntaxError naming what is wrong.
QUORVEX_API std::vector<Step> parse(const std::string& text);

// The library filters of a parsed chain, built for one input stream and
// joined into one composition when there is more than one.
class QUORVEX_API Chain {
public:
    // Throws StreamError for an input rate outside 1 to kHighestRate, and
    // when a filter cannot work on the stream as it arrives at that filter.
    Chain(const std::vector<Step>& steps, StreamFormat input);
    // parse(text), then as above.
    Chain(const std::string& text, StreamFormat input);
    ~Chain();
    Chain(const Chain&) = delete;
    Chain& operator=(const Chain&) = delete;

    // The filter to run doubles through; throws std::logic_error for a chain
    // of an integer-only filter.
    RealAudioFilter& outermost();
    // The filter of a chain that is one integer-only filter, else null.
    IntAudioFilter* integerFilter() const { return integerOnly.get(); }
    StreamFormat input() const { return streamFormats.front(); }
    StreamFormat output() const { return streamFormats.back(); }
    // The input, then what each filter hands on.
    const std::vector<StreamFormat>& formats() const { return streamFormats; }
    // How much later than its input the chain's output comes.
    double latencySeconds() const { return latency; }
    std::string name();

private:
    std::vector<std::unique_ptr<RealAudioFilter>> members;
    std::vector<StreamFormat> streamFormats;
    std::unique_ptr<RealAudioFilter> composition;
    std::unique_ptr<IntAudioFilter> integerOnly;
    double latency = 0.0;
};

// Runs a stream through a chain in blocks of any size. The chain's delay is
// cut from the start of the output and made up for by silence at finish(),
// so the output spans the input exactly: floor(frames in x output rate /
// input rate) frames. Output goes to the sink as it is made; an exception
// from the sink passes through write() or finish().
class BlockRunner;

// Stereo doubles at full scale 1.0 in and out.
class QUORVEX_API DoubleRunner {
public:
    using Sink = std::function<void(const double* stereo, long long frames)>;

    // `clip`: the output goes on to integers, so samples beyond full scale
    // are clipped and counted instead of wrapping around later.
    DoubleRunner(Chain& chain, bool clip, Sink sink);
    ~DoubleRunner();
    DoubleRunner(const DoubleRunner&) = delete;
    DoubleRunner& operator=(const DoubleRunner&) = delete;

    // Interleaved stereo frames; throws StreamError when a block fails.
    void write(const double* stereo, long long frames);
    void finish();
    long long framesIn() const;
    long long clippedSamples() const;

private:
    std::unique_ptr<BlockRunner> runner;
};

// Stereo little-endian integer PCM in and out: the chain's input depth in,
// its output depth out, through the library's integer adapter, or straight
// into the chain's integer-only filter. What the chain leaves beyond full
// scale is clipped and counted.
class QUORVEX_API PcmRunner {
public:
    using Sink = std::function<void(const unsigned char* pcm, long long frames, int bits)>;

    // The adapter's buffers hold twice its output block: a chain that rises
    // higher than twice its output rate on the way cannot run through it and
    // takes the doubles instead.
    static bool accepts(const Chain& chain);

    // Throws std::logic_error unless accepts(chain).
    PcmRunner(Chain& chain, Sink sink);
    ~PcmRunner();
    PcmRunner(const PcmRunner&) = delete;
    PcmRunner& operator=(const PcmRunner&) = delete;

    void write(const unsigned char* pcm, long long frames);
    void finish();
    long long framesIn() const;
    long long clippedSamples() const;

private:
    std::unique_ptr<BlockRunner> runner;
};

}  // namespace quorvex::chain

#endif
