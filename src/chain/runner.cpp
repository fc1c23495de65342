// Streams through a chain in blocks of one fixed size, whatever the sizes the
// host writes in: the filters see the blocks a file-reading host would hand
// them, and the chain's delay is handled in one place.
#include "registry.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>

namespace quorvex::chain {

namespace {

constexpr int kMostBlockFrames = 4096;

// The highest rate anywhere in the chain divided by the input rate: how
// much room the largest intermediate block needs.
double widestRateRatio(const Chain& chain) {
    int widest = 0;
    for (const StreamFormat& format : chain.formats()) widest = std::max(widest, format.rate);
    return static_cast<double>(widest) / chain.input().rate;
}

// The largest block, up to `most` frames, that every filter turns into a
// whole and even number of frames, so no rate change drops a fraction of a
// frame at a block's end; `most` when no such block exists.
int wholeBlockFrames(const Chain& chain, int most) {
    const long long in = chain.input().rate;
    long long step = 1;
    for (const StreamFormat& format : chain.formats()) {
        step = std::lcm(step, 2 * in / std::gcd(in, static_cast<long long>(format.rate)));
        if (step > most) return most;
    }
    return static_cast<int>(most / step * step);
}

// Integers cannot hold what lies beyond full scale, and the adapter's 24-bit
// conversion would wrap it around; clipping is the least harm.
// Written without a branch, so the loop runs in vector lanes.
long long clipToFullScale(double* samples, int count) {
    int clipped = 0;
    for (int i = 0; i < count; ++i) {
        const double sample = samples[i];
        const bool beyond = !(std::fabs(sample) <= 1.0);
        clipped += beyond ? 1 : 0;
        samples[i] = beyond ? std::copysign(1.0, sample) : sample;
    }
    return clipped;
}

}  // namespace

// Gathers written frames into blocks and runs each full one. The chain's
// delay is cut from the start of the output and made up for at the end by
// running silence through it, so the output holds exactly the input's span.
class BlockRunner {
public:
    explicit BlockRunner(Chain& chain)
        : chain(chain),
          blockFrames(wholeBlockFrames(chain, kMostBlockFrames)),
          toSkip(std::llround(chain.latencySeconds() * chain.output().rate)) {}
    virtual ~BlockRunner() = default;

    void write(const void* source, long long frames) {
        if (finished) throw std::logic_error("write after finish");
        for (long long done = 0; done < frames;) {
            const long long count = std::min(frames - done, blockFrames - pending);
            copyIn(source, done, pending, count);
            done += count;
            pending += count;
            framesIn += count;
            if (pending == blockFrames) runPending();
        }
    }

    // The last block, when short, is topped up with silence as the tail is:
    // the integer adapter sizes its buffers by the first block it sees, and
    // a whole block after a short first one may not fit.
    void finish() {
        if (finished) return;
        finished = true;
        if (pending > 0) {
            silenceFrom(pending);
            endInput();
            runPending();
        }
        endInput();
        long long budget = std::llround(chain.latencySeconds() * chain.input().rate) + blockFrames;
        for (; written < expected && budget > 0; budget -= blockFrames) {
            silenceFrom(0);
            runPending();
        }
    }

    long long framesRead() const { return framesIn; }
    long long clippedSamples() const { return clipped; }

protected:
    // Copies `count` frames from frame `from` of `source` to frame `to` of the block.
    virtual void copyIn(const void* source, long long from, long long to, long long count) = 0;
    virtual void runBlock() = 0;
    // Fills the block with silence from frame `first` on.
    virtual void silenceFrom(long long first) = 0;

    struct Span {
        long long first;
        long long count;
    };
    // Which of `frames` output frames belong in the output.
    Span keep(long long frames) {
        const long long skip = std::min(frames, toSkip);
        toSkip -= skip;
        const long long count = std::min(frames - skip, expected - written);
        written += count;
        return {skip, count};
    }

    [[noreturn]] void failed() {
        throw StreamError("the chain " + chain.name() + " failed on a block");
    }

    Chain& chain;
    const int blockFrames;
    long long clipped = 0;

private:
    void runPending() {
        runBlock();
        pending = 0;
    }
    void endInput() { expected = framesIn * chain.output().rate / chain.input().rate; }

    long long toSkip;
    long long pending = 0;  // frames gathered in the block
    long long framesIn = 0;
    long long expected = std::numeric_limits<long long>::max();
    long long written = 0;
    bool finished = false;
};

namespace {

// Room for one block at the widest rate inside the chain, since a
// composition's intermediate buffers are as large as its output buffer.
int doublesForWidestBlock(const Chain& chain, int blockFrames) {
    return 2 * static_cast<int>(std::ceil(blockFrames * widestRateRatio(chain))) + 2;
}

class DoubleBlockRunner : public BlockRunner {
public:
    DoubleBlockRunner(Chain& chain, bool clip, DoubleRunner::Sink sink)
        : BlockRunner(chain),
          clip(clip),
          sink(std::move(sink)),
          in(2 * blockFrames, chain.input().rate, chain.input().bits),
          out(doublesForWidestBlock(chain, blockFrames), chain.output().rate, chain.output().bits) {
    }

private:
    void copyIn(const void* source, long long from, long long to, long long count) override {
        std::copy_n(static_cast<const double*>(source) + 2 * from, 2 * count, in.data + 2 * to);
    }

    void runBlock() override {
        in.length = 2 * blockFrames;
        out.length = 0;
        out.sampleRate = chain.output().rate;
        out.bitsPerSample = chain.output().bits;
        if (chain.outermost().process(&in, &out) < 0) failed();
        if (clip) clipped += clipToFullScale(out.data, out.length);
        const Span span = keep(out.length / 2);
        if (span.count > 0) sink(out.data + 2 * span.first, span.count);
    }

    void silenceFrom(long long first) override {
        std::fill(in.data + 2 * first, in.data + 2 * blockFrames, 0.0);
    }

    const bool clip;
    const DoubleRunner::Sink sink;
    RealAudioBuffer in;
    RealAudioBuffer out;
};

// Passes everything to the chain; remembers its last result, since the
// integer adapter turns a failed block into zero bytes that must not pass
// silently, and clips what the chain leaves beyond full scale.
class ChainGuard : public RealAudioFilter {
public:
    explicit ChainGuard(RealAudioFilter& inner) : inner(inner) {}
    const char* getName() override { return inner.getName(); }
    int setParamData(unsigned long id, const void* block, int size) override {
        return inner.setParamData(id, block, size);
    }
    int getParamData(unsigned long id, void* block, int size) override {
        return inner.getParamData(id, block, size);
    }
    void reset() override { inner.reset(); }
    int process(const RealAudioBuffer* in, RealAudioBuffer* out) override {
        lastResult = inner.process(in, out);
        if (lastResult >= 0) clipped += clipToFullScale(out->data, out->length);
        return lastResult;
    }
    int lastResult = 0;
    long long clipped = 0;

private:
    RealAudioFilter& inner;
};

int bytesFor(long long frames, int bits) { return static_cast<int>(2 * frames * (bits / 8)); }

// Integer PCM takes the host's road: the adapter converts to doubles, runs
// the chain and converts back at the depth the chain reports. A chain that
// is one integer-only filter gets the PCM directly.
class PcmBlockRunner : public BlockRunner {
public:
    PcmBlockRunner(Chain& chain, PcmRunner::Sink sink)
        : BlockRunner(chain),
          sink(std::move(sink)),
          in(bytesFor(blockFrames, chain.input().bits)),
          out(bytesFor(
              static_cast<long long>(blockFrames) * chain.output().rate / chain.input().rate + 1,
              chain.output().bits)) {
        filter = chain.integerFilter();
        if (filter != nullptr) return;
        guard = std::make_unique<ChainGuard>(chain.outermost());
        adapter = std::make_unique<DataTypeConversionFilter>(guard.get());
        filter = adapter.get();
    }

private:
    void copyIn(const void* source, long long from, long long to, long long count) override {
        const int frameBytes = bytesFor(1, chain.input().bits);
        std::memcpy(in.data() + to * frameBytes,
                    static_cast<const unsigned char*>(source) + from * frameBytes,
                    static_cast<size_t>(count * frameBytes));
    }

    void runBlock() override {
        const StreamFormat from = chain.input();
        const StreamFormat to = chain.output();
        const int produced =
            filter->process(from.rate, from.bits, in.data(), bytesFor(blockFrames, from.bits),
                            to.rate, to.bits, out.data(), static_cast<int>(out.size()));
        if (produced < 0 || (guard && guard->lastResult < 0)) failed();
        if (guard) clipped = guard->clipped;
        const Span span = keep(produced / bytesFor(1, to.bits));
        if (span.count > 0)
            sink(out.data() + span.first * bytesFor(1, to.bits), span.count, to.bits);
    }

    void silenceFrom(long long first) override {
        std::fill(in.begin() + bytesFor(first, chain.input().bits), in.end(), 0);
    }

    const PcmRunner::Sink sink;
    std::unique_ptr<ChainGuard> guard;
    std::unique_ptr<DataTypeConversionFilter> adapter;
    IntAudioFilter* filter;
    std::vector<unsigned char> in;
    std::vector<unsigned char> out;
};

}  // namespace

DoubleRunner::DoubleRunner(Chain& chain, bool clip, Sink sink)
    : runner(std::make_unique<DoubleBlockRunner>(chain, clip, std::move(sink))) {}
DoubleRunner::~DoubleRunner() = default;
void DoubleRunner::write(const double* stereo, long long frames) { runner->write(stereo, frames); }
void DoubleRunner::finish() { runner->finish(); }
long long DoubleRunner::framesIn() const { return runner->framesRead(); }
long long DoubleRunner::clippedSamples() const { return runner->clippedSamples(); }

// The adapter's output buffer, which a composition's intermediate buffers
// copy, holds twice the output block; a chain that raises the rate further
// between its filters (velmo, then resample down) cannot run inside it.
bool PcmRunner::accepts(const Chain& chain) {
    return chain.integerFilter() != nullptr ||
           widestRateRatio(chain) <= 2.0 * chain.output().rate / chain.input().rate;
}

namespace {

Chain& accepted(Chain& chain) {
    if (!PcmRunner::accepts(chain)) throw std::logic_error("this chain cannot run on integer PCM");
    return chain;
}

}  // namespace

PcmRunner::PcmRunner(Chain& chain, Sink sink)
    : runner(std::make_unique<PcmBlockRunner>(accepted(chain), std::move(sink))) {}
PcmRunner::~PcmRunner() = default;
void PcmRunner::write(const unsigned char* pcm, long long frames) { runner->write(pcm, frames); }
void PcmRunner::finish() { runner->finish(); }
long long PcmRunner::framesIn() const { return runner->framesRead(); }
long long PcmRunner::clippedSamples() const { return runner->clippedSamples(); }

}  // namespace quorvex::chain
