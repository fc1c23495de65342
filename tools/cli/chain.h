#ifndef QUORVEX_CLI_CHAIN_H
#define QUORVEX_CLI_CHAIN_H

// A chain as the user writes it: filters separated by spaces, each
// NAME[:KEY=VALUE,...], for example "eq:63=+3,1k=-2 velmo:source=mp3".

#include "registry.h"

#include <memory>
#include <string>
#include <vector>

struct ChainStep {
    const FilterEntry* entry;
    ParamValues values;
};

// Checks names, keys, values and ranges; throws UsageError naming what is wrong.
std::vector<ChainStep> parseChain(const std::string& text);

// The library filters of a parsed chain, built for one input stream and
// joined into one composition when there is more than one.
class Chain {
public:
    Chain(const std::vector<ChainStep>& steps, StreamFormat input);
    ~Chain();

    RealAudioFilter& outermost();
    // The filter of a chain that is one integer PCM filter, else null.
    IntAudioFilter* integerFilter() { return integerOnly.get(); }
    StreamFormat input() const { return formats.front(); }
    StreamFormat output() const { return formats.back(); }
    // The highest rate anywhere in the chain divided by the input rate: how
    // much room the largest intermediate block needs.
    double widestRateRatio() const;
    double latencySeconds() const { return latency; }
    // The largest block, up to `most` frames, that every filter turns into a
    // whole and even number of frames, so no rate change drops a fraction of
    // a frame at a block's end; `most` when no such block exists.
    int wholeBlockFrames(int most) const;
    std::string name();

private:
    std::vector<std::unique_ptr<RealAudioFilter>> members;
    std::vector<StreamFormat> formats;  // the input, then each member's output
    std::unique_ptr<RealAudioFilter> composition;
    std::unique_ptr<IntAudioFilter> integerOnly;
    double latency = 0.0;
};

#endif
