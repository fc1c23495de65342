#include "processing.h"

#include "audio_file.h"
#include "error.h"
#include "progress.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

namespace qc = quorvex::chain;

constexpr sf_count_t kReadFrames = 4096;

// Sources that are not integer PCM run at a 24-bit label: as fine a grain as
// the filters that look at the depth know.
constexpr int kFloatSourceBits = 24;

struct Totals {
    long long framesIn;
    long long clippedSamples;
};

// Feeds the whole file to the runner, which writes as it goes, then flushes
// the chain's tail.
template <typename Runner, typename Sample, typename Read>
Totals streamFile(InputFile& in, Runner& runner, std::vector<Sample> block, Read read,
                  Progress& progress) {
    while (const sf_count_t frames = read(block.data())) {
        runner.write(block.data(), frames);
        progress.update(runner.framesIn());
    }
    in.requireFullyRead();
    runner.finish();
    return {runner.framesIn(), runner.clippedSamples()};
}

// Float and other non-integer sources, and chains the integer adapter cannot
// hold: doubles straight into the chain.
Totals runDoubles(qc::Chain& chain, InputFile& in, OutputFile& out, bool toIntegers,
                  Progress& progress) {
    qc::DoubleRunner runner(chain, toIntegers, [&out](const double* stereo, long long frames) {
        out.writeStereo(stereo, frames);
    });
    return streamFile(
        in, runner, std::vector<double>(2 * kReadFrames),
        [&in](double* block) { return in.readStereo(block, kReadFrames); }, progress);
}

// Integer PCM sources take the host's road through the integer adapter.
Totals runPcm(qc::Chain& chain, InputFile& in, OutputFile& out, Progress& progress) {
    qc::PcmRunner runner(chain, [&out](const unsigned char* pcm, long long frames, int bits) {
        out.writeStereoPcm(pcm, frames, bits);
    });
    const int bits = chain.input().bits;
    return streamFile(
        in, runner, std::vector<unsigned char>(2 * kReadFrames * (bits / 8)),
        [&in, bits](unsigned char* block) { return in.readStereoPcm(block, kReadFrames, bits); },
        progress);
}

// Fewer integer bits out than the source holds (any, for a float source):
// the last rounding would turn the quietest detail into distortion.
bool depthGoesDown(const InputFile& in, SampleEncoding encoding) {
    const int outBits = integerBitsOf(encoding);
    return outBits != 0 && (in.integerBits() == 0 || outBits < in.integerBits());
}

SampleEncoding outputEncoding(const ProcessRequest& request, const InputFile& in,
                              const qc::Chain& chain) {
    if (!request.bits.empty()) return parseEncoding(request.bits);
    if (in.integerBits() != 0) return encodingForBits(chain.output().bits);
    return fileTypeHoldsFloat(request.output, request.outputType) ? SampleEncoding::Float
                                                                  : SampleEncoding::Pcm24;
}

// The peak of the chain's output over the whole input, before any clipping.
double peakOf(const std::vector<qc::Step>& steps, qc::StreamFormat format, InputFile& in) {
    qc::Chain chain(steps, format);
    double peak = 0.0;
    qc::DoubleRunner runner(chain, false, [&peak](const double* stereo, long long frames) {
        for (long long i = 0; i < 2 * frames; ++i) peak = std::max(peak, std::fabs(stereo[i]));
    });
    Progress silent(false, 0, format.rate);
    streamFile(
        in, runner, std::vector<double>(2 * kReadFrames),
        [&in](double* block) { return in.readStereo(block, kReadFrames); }, silent);
    return peak;
}

// Measures in a child process: most filters keep their history in
// process-wide state that nothing clears, and the real run must start as
// fresh as one without measuring. The child's errors reach the user from the
// real run, which meets them again.
double measurePeak(const std::vector<qc::Step>& steps, qc::StreamFormat format, InputFile& in) {
    int ends[2];
    if (pipe(ends) != 0) throw CliError("--norm: cannot measure the peak: out of resources");
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        try {
            const double peak = peakOf(steps, format, in);
            _exit(write(ends[1], &peak, sizeof peak) == sizeof peak ? 0 : 1);
        } catch (...) {
            _exit(1);
        }
    }
    close(ends[1]);
    double peak = 0.0;
    const bool measured = child > 0 && read(ends[0], &peak, sizeof peak) == sizeof peak;
    close(ends[0]);
    if (child > 0) waitpid(child, nullptr, 0);
    in.rewind();
    return measured ? peak : 0.0;
}

// The chain with a gain step after it that brings its peak to `level` dBFS;
// silence stays as it is.
std::vector<qc::Step> normalized(std::vector<qc::Step> steps, qc::StreamFormat format,
                                 InputFile& in, double level) {
    if (steps.front().filter->integerOnly)
        throw CliError("--norm: " + steps.front().filter->name + " runs alone in its chain");
    if (steps.size() >= qc::kMaxChainLength)
        throw CliError("--norm adds a gain step, and the chain already holds the most filters");
    const double peak = measurePeak(steps, format, in);
    if (peak <= 0.0) return steps;
    const qc::FilterInfo* gainFilter = qc::findFilter("gain");
    const qc::Parameter* range = gainFilter->findParam("db");
    const double decibels = std::clamp(level - 20.0 * std::log10(peak), range->min, range->max);
    qc::Step gain{gainFilter, {}};
    gain.settings.set("db", std::to_string(decibels), decibels, true);
    steps.push_back(gain);
    return steps;
}

}  // namespace

ProcessResult processFile(const ProcessRequest& request) {
    std::vector<qc::Step> steps = qc::parse(request.chain);
    refuseSameFile(request.input, request.output);
    InputFile in(request.input, request.inputFormat,
                 request.allowTruncated ? TruncatedInput::Salvage : TruncatedInput::Refuse);
    in.requireMonoOrStereo();
    const int bits = in.integerBits() != 0 ? in.integerBits() : kFloatSourceBits;
    if (steps.front().filter->integerOnly && in.integerBits() == 0)
        throw CliError(steps.front().filter->name + " works on integer PCM, and " + request.input +
                       " holds " + in.describeEncoding());
    const qc::StreamFormat format{in.info().samplerate, bits};
    if (request.normalize) steps = normalized(std::move(steps), format, in, request.normLevel);
    qc::Chain chain(steps, format);
    const SampleEncoding encoding = outputEncoding(request, in, chain);
    const int channels = in.info().channels == 1 && !request.stereo ? 1 : 2;
    OutputFile out(request.output, chain.output().rate, encoding, request.outputType, channels);
    const bool dither = request.dither && depthGoesDown(in, encoding);
    if (dither) out.ditherWhenRounding();

    // The integer road rounds to the chain's own output depth without
    // dither; another depth asked for, or dither, takes the doubles, so the
    // file gets the chain's full precision. A chain of one integer filter has
    // no double road.
    const bool chainDepth = encoding == encodingForBits(chain.output().bits);
    const bool integerRoad =
        chain.integerFilter() != nullptr ||
        (in.integerBits() != 0 && chainDepth && !dither && qc::PcmRunner::accepts(chain));
    Progress progress(request.showProgress, in.info().frames, in.info().samplerate);
    const Totals totals =
        integerRoad ? runPcm(chain, in, out, progress)
                    : runDoubles(chain, in, out, encoding != SampleEncoding::Float, progress);
    out.commit();
    progress.finish();

    return ProcessResult{chain.input(),         chain.output(),  encodingName(encoding),
                         chain.name(),          totals.framesIn, progress.elapsedSeconds(),
                         totals.clippedSamples, in.truncated()};
}
