#include "processing.h"

#include "audio_file.h"
#include "chain.h"
#include "error.h"
#include "progress.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <vector>

namespace {

constexpr int kMostBlockFrames = 4096;

// Both ways through the library read one block of the input, run it through
// the chain and write what comes out. The chain's delay is cut from the
// start of the output and made up for at the end by running silence through
// it, so the output holds exactly the input's span.
class BlockRunner {
public:
    BlockRunner(Chain& chain, int blockFrames)
        : chain(chain), blockFrames(blockFrames),
          toSkip(std::llround(chain.latencySeconds() * chain.output().rate)) {}
    virtual ~BlockRunner() = default;

    // Runs the next block of the input; false at its end. The last block,
    // when short, is topped up with silence as the tail is: the integer
    // adapter sizes its buffers by the first block it sees, and a whole
    // block after a short first one may not fit.
    bool runNext(InputFile& file, OutputFile& target) {
        const long long frames = read(file);
        if (frames == 0) return false;
        framesIn += frames;
        if (frames < blockFrames) {
            silenceFrom(frames);
            endInput();
        }
        runAndWrite(blockFrames, target);
        return true;
    }

    long long framesRead() const { return framesIn; }
    // Samples over full scale that were clipped on their way to integers.
    long long clippedSamples() const { return clipped; }

    // Pushes the delayed tail out once the whole input has run.
    void flush(OutputFile& target) {
        endInput();
        long long budget = std::llround(chain.latencySeconds() * chain.input().rate) + blockFrames;
        for (; written < expected && budget > 0; budget -= blockFrames) {
            silenceFrom(0);
            runAndWrite(blockFrames, target);
        }
    }

protected:
    // Reads up to one block; returns the frames read, 0 at the end of the input.
    virtual long long read(InputFile& file) = 0;
    virtual void runAndWrite(long long frames, OutputFile& target) = 0;
    // Fills the block with silence from frame `first` on.
    virtual void silenceFrom(long long first) = 0;

    struct Span {
        long long first;
        long long count;
    };
    // Which of `frames` output frames belong in the file.
    Span keep(long long frames) {
        const long long skip = std::min(frames, toSkip);
        toSkip -= skip;
        const long long count = std::min(frames - skip, expected - written);
        written += count;
        return {skip, count};
    }

    Chain& chain;
    const int blockFrames;
    long long clipped = 0;

private:
    void endInput() { expected = framesIn * chain.output().rate / chain.input().rate; }

    long long toSkip;
    long long framesIn = 0;
    long long expected = std::numeric_limits<long long>::max();
    long long written = 0;
};

// Integers cannot hold what lies beyond full scale, and the adapter's 24-bit
// conversion would wrap it around; clipping is the least harm.
long long clipToFullScale(double* samples, int count) {
    long long clipped = 0;
    for (int i = 0; i < count; ++i) {
        if (std::fabs(samples[i]) <= 1.0) continue;
        samples[i] = std::copysign(1.0, samples[i]);
        ++clipped;
    }
    return clipped;
}

// Room for one block at the widest rate inside the chain, since a
// composition's intermediate buffers are as large as its output buffer.
int doublesForWidestBlock(Chain& chain, int blockFrames) {
    return 2 * static_cast<int>(std::ceil(blockFrames * chain.widestRateRatio())) + 2;
}

// Float and other non-integer sources: doubles straight into the chain.
class DoubleRunner : public BlockRunner {
public:
    DoubleRunner(Chain& chain, int blockFrames, bool toIntegers)
        : BlockRunner(chain, blockFrames), toIntegers(toIntegers),
          in(2 * blockFrames, chain.input().rate, chain.input().bits),
          out(doublesForWidestBlock(chain, blockFrames), chain.output().rate, chain.output().bits) {}

private:
    long long read(InputFile& file) override { return file.readStereo(in.data, blockFrames); }

    void runAndWrite(long long frames, OutputFile& target) override {
        in.length = static_cast<int>(2 * frames);
        out.length = 0;
        out.sampleRate = chain.output().rate;
        out.bitsPerSample = chain.output().bits;
        if (chain.outermost().process(&in, &out) < 0)
            throw CliError("the chain " + chain.name() + " failed on a block");
        if (toIntegers) clipped += clipToFullScale(out.data, out.length);
        const Span span = keep(out.length / 2);
        target.writeStereo(out.data + 2 * span.first, span.count);
    }

    void silenceFrom(long long first) override {
        std::fill(in.data + 2 * first, in.data + 2 * blockFrames, 0.0);
    }

    const bool toIntegers;
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

// Integer PCM sources take the host's road: the adapter converts to doubles,
// runs the chain and converts back at the depth the chain reports. A chain
// that is one integer filter gets the PCM directly.
class IntegerRunner : public BlockRunner {
public:
    IntegerRunner(Chain& chain, int blockFrames)
        : BlockRunner(chain, blockFrames), in(bytesFor(blockFrames, chain.input().bits)),
          out(bytesFor(static_cast<long long>(blockFrames) * chain.output().rate / chain.input().rate + 1,
                       chain.output().bits)) {
        filter = chain.integerFilter();
        if (filter != nullptr) return;
        guard = std::make_unique<ChainGuard>(chain.outermost());
        adapter = std::make_unique<DataTypeConversionFilter>(guard.get());
        filter = adapter.get();
    }

private:
    long long read(InputFile& file) override {
        return file.readStereoPcm(in.data(), blockFrames, chain.input().bits);
    }

    void runAndWrite(long long frames, OutputFile& target) override {
        const StreamFormat from = chain.input();
        const StreamFormat to = chain.output();
        const int produced = filter->process(from.rate, from.bits, in.data(), bytesFor(frames, from.bits),
                                             to.rate, to.bits, out.data(), static_cast<int>(out.size()));
        if (produced < 0 || (guard && guard->lastResult < 0))
            throw CliError("the chain " + chain.name() + " failed on a block");
        if (guard) clipped = guard->clipped;
        const Span span = keep(produced / bytesFor(1, to.bits));
        target.writeStereoPcm(out.data() + span.first * bytesFor(1, to.bits), span.count, to.bits);
    }

    void silenceFrom(long long first) override {
        std::fill(in.begin() + bytesFor(first, chain.input().bits), in.end(), 0);
    }

    std::unique_ptr<ChainGuard> guard;
    std::unique_ptr<DataTypeConversionFilter> adapter;
    IntAudioFilter* filter;
    std::vector<unsigned char> in;
    std::vector<unsigned char> out;
};

// The integer adapter's output buffer, which a composition's intermediate
// buffers copy, holds twice the output block; a chain that raises the rate
// further between its filters (velmo, then resample down) cannot run inside
// it and takes the double road instead.
bool adapterHoldsChain(Chain& chain) {
    return chain.integerFilter() != nullptr ||
           chain.widestRateRatio() <= 2.0 * chain.output().rate / chain.input().rate;
}

SampleEncoding outputEncoding(const ProcessRequest& request, const InputFile& in, Chain& chain) {
    if (!request.bits.empty()) return parseEncoding(request.bits);
    if (in.integerBits() != 0) return encodingForBits(chain.output().bits);
    return fileTypeHoldsFloat(request.output) ? SampleEncoding::Float : SampleEncoding::Pcm24;
}

// Sources that are not integer PCM run at a 24-bit label: as fine a grain as
// the filters that look at the depth know.
constexpr int kFloatSourceBits = 24;

}  // namespace

ProcessResult processFile(const ProcessRequest& request) {
    const std::vector<ChainStep> steps = parseChain(request.chain);
    refuseSameFile(request.input, request.output);
    InputFile in(request.input);
    in.requireMonoOrStereo();
    const int bits = in.integerBits() != 0 ? in.integerBits() : kFloatSourceBits;
    if (steps.front().entry->buildInteger && in.integerBits() == 0)
        throw CliError(steps.front().entry->name + " works on integer PCM, and " + request.input + " holds " +
                       in.describeEncoding());
    Chain chain(steps, StreamFormat{in.info().samplerate, bits});
    const SampleEncoding encoding = outputEncoding(request, in, chain);
    OutputFile out(request.output, chain.output().rate, encoding);

    std::unique_ptr<BlockRunner> runner;
    const int blockFrames = chain.wholeBlockFrames(kMostBlockFrames);
    if (in.integerBits() != 0 && adapterHoldsChain(chain))
        runner = std::make_unique<IntegerRunner>(chain, blockFrames);
    else
        runner = std::make_unique<DoubleRunner>(chain, blockFrames, encoding != SampleEncoding::Float);
    Progress progress(request.showProgress, in.info().frames, in.info().samplerate);
    while (runner->runNext(in, out)) progress.update(runner->framesRead());
    in.requireFullyRead();
    runner->flush(out);
    out.commit();
    progress.finish();

    return ProcessResult{chain.input(),  chain.output(), encodingName(encoding),   chain.name(),
                         runner->framesRead(), progress.elapsedSeconds(), runner->clippedSamples()};
}
