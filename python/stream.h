#ifndef QUORVEX_PYTHON_STREAM_H
#define QUORVEX_PYTHON_STREAM_H

// A chain run over float arrays the way the command-line tool runs it over a
// float file: doubles in at a 24-bit label, the delay removed, the output
// spanning the input exactly, mono in and mono out.

#include "array_entry.h"

#include <quorvex/chain.h>

#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

namespace quorvex::python {

// A chain that would share process-wide filter state with a live one.
class StateConflict : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Samples the chain made, in the sample type of the array that went in,
// interleaved.
struct Output {
    std::vector<float> singles;
    std::vector<double> doubles;
    long long frames = 0;
};

class Stream {
public:
    // Throws the chain layer's SyntaxError or StreamError, and StateConflict
    // when a live stream holds a filter whose state every instance shares.
    Stream(const std::string& text, int rate);
    ~Stream();
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    // Runs `layout.frames` frames of `samples` and appends what comes out;
    // the first write fixes the channel count and sample type of the stream.
    void write(const void* samples, const ArrayLayout& layout, Output& out);
    // The tail; a further write starts over. Nothing after an empty stream.
    void finish(Output& out);
    // A whole array as a stream of its own: the output spans it exactly.
    void whole(const void* samples, const ArrayLayout& layout, Output& out);
    // Starts a new stream: the chain is built afresh.
    void reset();
    // What a whole array of `frames` frames turns into.
    long long outputFramesFor(long long frames) const;

    int inputRate() const { return format.rate; }
    int outputRate() const { return chain->output().rate; }
    double latencySeconds() const { return chain->latencySeconds(); }
    std::string chainName();
    const std::string& text() const { return chainText; }

private:
    class Lease;

    void build();
    void writeLocked(const void* samples, const ArrayLayout& layout, Output& out);
    void finishLocked(Output& out);
    void requireSameKind(const ArrayLayout& layout);

    std::string chainText;
    quorvex::chain::StreamFormat format;
    std::vector<quorvex::chain::Step> steps;
    std::unique_ptr<Lease> lease;
    std::mutex running;  // one thread at a time through this chain
    std::unique_ptr<quorvex::chain::Chain> chain;
    std::unique_ptr<quorvex::chain::DoubleRunner> runner;
    Output* sinkTarget = nullptr;
    std::vector<double> stereo;
    bool started = false;
    bool finished = false;
    int channels = 0;
    bool isDouble = false;
};

}  // namespace quorvex::python

#endif
