// quorvex process IN OUT --chain "...": one file through one chain.
#include "audio_file.h"
#include "commands.h"
#include "error.h"
#include "processing.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <set>
#include <utility>

namespace {

// Reads options off the command line, each at most once: a second --chain
// would silently replace the first.
class OptionReader {
public:
    explicit OptionReader(const Arguments& args) : args(args) {}

    bool done() const { return i >= args.size(); }
    const std::string& current() const { return args[i]; }
    void next() { ++i; }

    // The value of an option given as "--name value" or "--name=value"
    // (short spellings: "-x value"); an empty one would pass for an option
    // not given.
    bool take(const std::string& name, const std::string& shortName, std::string& value) {
        const std::string& arg = args[i];
        const std::string* spelled = arg == name || arg.rfind(name + "=", 0) == 0 ? &name
                                     : !shortName.empty() && arg == shortName     ? &shortName
                                                                                  : nullptr;
        if (spelled == nullptr) return false;
        if (arg.size() > spelled->size()) {
            value = arg.substr(spelled->size() + 1);
        } else {
            if (i + 1 >= args.size()) throw UsageError(name + " needs a value");
            value = args[++i];
        }
        if (value.empty()) throw UsageError(name + " needs a value");
        if (!seen.insert(name).second) throw UsageError(name + " is given twice; give it once");
        return true;
    }

    // -t applies to the file after it, so it may appear once per file.
    void fileNamed() { seen.erase("--type"); }

private:
    const Arguments& args;
    size_t i = 0;
    std::set<std::string> seen;
};

std::string parseType(const std::string& text) {
    for (const char* type : {"wav", "flac", "aiff", "aif", "raw"})
        if (text == type) return text;
    throw UsageError("-t " + text + ": choose wav, flac, aiff or raw");
}

int parseCount(const std::string& name, const std::string& text, int least, int most) {
    char* end = nullptr;
    const long value = std::strtol(text.c_str(), &end, 10);
    if (*end != '\0' || value < least || value > most)
        throw UsageError(name + " " + text + ": give a whole number from " + std::to_string(least) +
                         " to " + std::to_string(most));
    return static_cast<int>(value);
}

// --rate, --channels and --encoding describe raw input, which has no header
// to say them.
void describeRawInput(ProcessRequest& request, const std::string& rate, const std::string& channels,
                      const std::string& encoding) {
    const bool rawIn = request.inputFormat.type == "raw";
    if (!rawIn && !(rate.empty() && channels.empty() && encoding.empty()))
        throw UsageError(
            "--rate, --channels and --encoding describe raw input (-t raw before IN); "
            "resample:RATE changes the rate");
    if (!rawIn) return;
    if (rate.empty() || channels.empty())
        throw UsageError("raw input needs --rate and --channels (and --encoding unless 16-bit)");
    request.inputFormat.rate = parseCount("--rate", rate, 1, 1000000);
    request.inputFormat.channels = parseCount("--channels", channels, 1, 2);
    if (!encoding.empty()) request.inputFormat.encoding = parseEncoding(encoding);
}

// --norm, or --norm=DB for a peak level other than the default.
void setNorm(ProcessRequest& request, const std::string& option) {
    if (request.normalize) throw UsageError("--norm is given twice; give it once");
    request.normalize = true;
    if (option.size() == std::string("--norm").size()) return;
    const std::string text = option.substr(std::string("--norm=").size());
    char* end = nullptr;
    request.normLevel = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || !(request.normLevel >= -60.0 && request.normLevel <= 0.0))
        throw UsageError("--norm=" + text + ": give the peak level in dBFS, from -60 to 0");
}

ProcessRequest parseArguments(const Arguments& args) {
    ProcessRequest request;
    bool chainGiven = false;
    std::vector<std::string> paths;
    std::string type, rate, channels, encoding;
    std::vector<std::string> types;
    for (OptionReader options(args); !options.done(); options.next()) {
        if (options.take("--chain", "-c", request.chain))
            chainGiven = true;
        else if (options.take("--bits", "", request.bits) || options.take("--rate", "", rate) ||
                 options.take("--channels", "", channels) ||
                 options.take("--encoding", "", encoding))
            continue;
        else if (options.take("--type", "-t", type))
            type = parseType(type);
        else if (options.current() == "--quiet" || options.current() == "-q")
            request.quiet = true;
        else if (options.current() == "--stereo")
            request.stereo = true;
        else if (options.current() == "--no-dither")
            request.dither = false;
        else if (options.current() == "--allow-truncated")
            request.allowTruncated = true;
        else if (options.current() == "--norm" || options.current().rfind("--norm=", 0) == 0)
            setNorm(request, options.current());
        else if (options.current().size() > 1 && options.current()[0] == '-')
            throw UsageError("process: unknown option '" + options.current() + "'");
        else {
            paths.push_back(options.current());
            types.push_back(std::exchange(type, ""));
            options.fileNamed();
        }
    }
    if (!type.empty()) throw UsageError("-t " + type + " names the type of the file after it");
    if (paths.size() != 2)
        throw UsageError("usage: quorvex process IN OUT --chain \"FILTER:KEY=VALUE,... ...\"");
    if (!chainGiven)
        throw UsageError("process: --chain is missing ('quorvex list' shows the filters)");
    request.input = paths[0];
    request.output = paths[1];
    request.inputFormat.type = types[0];
    request.outputType = types[1];
    describeRawInput(request, rate, channels, encoding);
    request.showProgress = !request.quiet && isatty(STDERR_FILENO);
    return request;
}

}  // namespace

int runProcess(const Arguments& args) {
    const ProcessRequest request = parseArguments(args);
    const ProcessResult result = processFile(request);
    if (result.inputTruncated && !request.quiet)
        std::fprintf(stderr,
                     "quorvex: warning: %s is truncated; processed the %lld frames it holds\n",
                     request.input.c_str(), result.framesIn);
    if (result.clippedSamples > 0 && !request.quiet)
        std::fprintf(stderr,
                     "quorvex: warning: clipped %lld %s over full scale "
                     "(gain:-N before the filter that adds level, --norm, or alc at the end of the "
                     "chain keeps the output in range)\n",
                     result.clippedSamples, result.clippedSamples == 1 ? "sample" : "samples");
    if (request.showProgress)
        std::fprintf(stderr, "%s -> %s -> %s (%d Hz, %s), %.1f s of audio in %.2f s\n",
                     request.input.c_str(), request.chain.c_str(), request.output.c_str(),
                     result.output.rate, result.outputEncoding.c_str(),
                     static_cast<double>(result.framesIn) / result.input.rate, result.seconds);
    return 0;
}
