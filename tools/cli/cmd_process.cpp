// quorvex process IN OUT --chain "...": one file through one chain.
#include "commands.h"
#include "error.h"
#include "processing.h"

#include <unistd.h>

#include <cstdio>

namespace {

// The value of an option given as "--name value" or "--name=value"; an
// empty one would pass for an option not given.
bool takeOption(const Arguments& args, size_t& i, const std::string& name, std::string& value) {
    const std::string& arg = args[i];
    if (arg == name) {
        if (i + 1 >= args.size()) throw UsageError(name + " needs a value");
        value = args[++i];
    } else if (arg.rfind(name + "=", 0) == 0) {
        value = arg.substr(name.size() + 1);
    } else {
        return false;
    }
    if (value.empty()) throw UsageError(name + " needs a value");
    return true;
}

ProcessRequest parseArguments(const Arguments& args) {
    ProcessRequest request;
    bool chainGiven = false;
    std::vector<std::string> paths;
    for (size_t i = 0; i < args.size(); ++i) {
        if (takeOption(args, i, "--chain", request.chain) ||
            takeOption(args, i, "-c", request.chain))
            chainGiven = true;
        else if (takeOption(args, i, "--bits", request.bits))
            continue;
        else if (args[i] == "--quiet" || args[i] == "-q")
            request.quiet = true;
        else if (args[i] == "--no-dither")
            request.dither = false;
        else if (args[i].size() > 1 && args[i][0] == '-')
            throw UsageError("process: unknown option '" + args[i] + "'");
        else
            paths.push_back(args[i]);
    }
    if (paths.size() != 2)
        throw UsageError("usage: quorvex process IN OUT --chain \"FILTER:KEY=VALUE,... ...\"");
    if (!chainGiven)
        throw UsageError("process: --chain is missing ('quorvex list' shows the filters)");
    request.input = paths[0];
    request.output = paths[1];
    request.showProgress = !request.quiet && isatty(STDERR_FILENO);
    return request;
}

}  // namespace

int runProcess(const Arguments& args) {
    const ProcessRequest request = parseArguments(args);
    const ProcessResult result = processFile(request);
    if (result.clippedSamples > 0 && !request.quiet)
        std::fprintf(stderr,
                     "quorvex: warning: clipped %lld %s over full scale "
                     "(alc at the end of the chain keeps the output in range)\n",
                     result.clippedSamples, result.clippedSamples == 1 ? "sample" : "samples");
    if (request.showProgress)
        std::fprintf(stderr, "%s -> %s -> %s (%d Hz, %s), %.1f s of audio in %.2f s\n",
                     request.input.c_str(), result.chainName.c_str(), request.output.c_str(),
                     result.output.rate, result.outputEncoding.c_str(),
                     static_cast<double>(result.framesIn) / result.input.rate, result.seconds);
    return 0;
}
