// quorvex list and quorvex help: what the tool offers and how to ask for it.
#include "commands.h"
#include "error.h"

#include <quorvex/chain.h>

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace {

namespace qc = quorvex::chain;

std::string valueSyntax(const qc::Parameter& param) {
    switch (param.kind) {
        case qc::ParamKind::Number: return qc::rangeText(param);
        case qc::ParamKind::Choice: {
            std::string text;
            for (const std::string& choice : param.choices)
                text += (text.empty() ? "" : "|") + choice;
            return text;
        }
        case qc::ParamKind::Switch: return "on|off";
        case qc::ParamKind::Path: return "FILE";
    }
    return "";
}

// The width to wrap to: the terminal's, else $COLUMNS, else 80.
size_t outputWidth() {
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
    const char* columns = std::getenv("COLUMNS");
    const long fromEnvironment = columns != nullptr ? std::strtol(columns, nullptr, 10) : 0;
    return fromEnvironment > 0 ? static_cast<size_t>(fromEnvironment) : 80;
}

// `text` after `lead`, broken between words so that no line passes `width`;
// later lines are indented to where the text began.
void printWrapped(const std::string& lead, const std::string& text, size_t width) {
    std::istringstream words(text);
    std::string line = lead;
    bool lineHasWord = false;
    for (std::string word; words >> word;) {
        if (lineHasWord && line.size() + 1 + word.size() > width) {
            std::printf("%s\n", line.c_str());
            line = std::string(lead.size(), ' ');
            lineHasWord = false;
        }
        line += (lineHasWord ? " " : "") + word;
        lineHasWord = true;
    }
    std::printf("%s\n", line.c_str());
}

void printEntry(const qc::FilterInfo& entry) {
    const size_t width = outputWidth();
    printWrapped(entry.name + ": ", entry.summary, width);
    printWrapped("    ", "acts at " + entry.rates, width);
    if (!entry.sharedState.empty())
        printWrapped("    ", "one per chain: all instances share one " + entry.sharedState, width);
    if (!entry.positional.empty())
        printWrapped("    ", entry.name + ":VALUE sets " + entry.positional, width);
    for (const qc::Parameter& param : entry.params) {
        const std::string syntax = param.key + "=" + valueSyntax(param);
        const std::string fallback =
            param.defaultValue.empty() ? "" : " (default " + param.defaultValue + ")";
        char lead[64];
        std::snprintf(lead, sizeof lead, "    %-30s ", syntax.c_str());
        printWrapped(lead, param.help + fallback, width);
    }
}

constexpr const char* kHelp = R"(quorvex: runs audio files through chains of the library's filters

usage:
  quorvex process [-t TYPE] IN [-t TYPE] OUT --chain "CHAIN" [--bits 16|24|32|float]
                  [--no-dither] [--norm[=DB]] [--stereo] [--allow-truncated] [--quiet]
  quorvex info FILE...
  quorvex list
  quorvex demo [DIR]
  quorvex help [COMMAND|FILTER]
  quorvex --version

process   reads IN, runs it through CHAIN and writes OUT (.wav, .flac or .aiff).
          OUT gets the rate and depth the chain produces (twice the rate and
          24 bits after velmo; the fixed rate after resample) unless --bits
          asks for another depth. Integer sources take the library's integer
          road (unless the chain rises above twice its output rate on the
          way); float sources stay doubles. Mono input runs through the
          chain as two equal channels and comes out as mono, folded back
          as (L + R) / 2 (--stereo: both channels kept).
          Samples over full scale are clipped on the way to integers, with a
          warning. Fewer bits out than the source holds get triangular
          dither (--no-dither: rounding to the nearest step). --norm reads
          IN twice: it measures the chain's output peak, then scales it to
          DB dBFS (default -0.1) with a gain step after the chain. An IN that
          ends before the audio its header announces is refused
          (--allow-truncated: what it holds is processed, with a warning).
          OUT appears only when everything went well; IN is never changed.
          A progress bar shows on stderr when it is a terminal (--quiet:
          none, and no warnings).
          IN or OUT "-" is standard input or output; -t wav|flac|aiff|raw
          names the type of the file after it where no extension does. Raw
          input (little-endian) needs --rate HZ and --channels 1|2, and
          --encoding 24|32|float unless it is 16-bit. AIFF cannot stream
          into a pipe.
info      format, rate, depth, channels, length, peak and RMS level of each FILE.
list      every filter with its parameters, ranges, defaults and rates.
help      this text; with a command or a filter, its part only. COMMAND
          --help does the same.
demo      synthesises a test signal, runs it through an equalizer and the
          enhancer, and writes both files and their spectrograms to DIR
          (default: quorvex-demo).

CHAIN is one or more filters separated by spaces, applied in order:
  NAME                    a filter with its default settings
  NAME:KEY=VALUE,...      with settings; numbers may carry their unit (-2dB, 48kHz)
  NAME:VALUE              sets the filter's main parameter (resample:48000)
A filter whose instances share process-wide state may appear once per chain;
hold, which works on integer PCM, runs alone.

examples:
  quorvex process song.wav loud.wav --chain "alc:mode=sample"
  quorvex process song.flac bright.flac --chain "eq:63=+3,1k=-2,16k=+6"
  quorvex process song.wav hires.wav --chain "eq:16k=+3 velmo:source=mp3,mode=fine"
  quorvex process song.wav song48.flac --chain "resample:48000" --bits 16
  quorvex process master96.wav room.wav --chain "surround:wide=0.7 hpeq:file=phones.txt decimate"
)";

}  // namespace

int runList(const Arguments& args) {
    if (!args.empty()) throw UsageError("usage: quorvex list");
    bool first = true;
    for (const qc::FilterInfo& entry : qc::filters()) {
        if (!first) std::printf("\n");
        first = false;
        printEntry(entry);
    }
    return 0;
}

namespace {

// The usage line and the paragraph of one command, cut from the whole help.
std::string commandHelp(const std::string& name) {
    std::istringstream lines(kHelp);
    std::string usage, text;
    bool inUsage = false, inParagraph = false;
    for (std::string line; std::getline(lines, line);) {
        inUsage = line == "usage:" || (inUsage && !line.empty());
        if (inUsage && line.rfind("  quorvex " + name, 0) == 0)
            usage += "usage:" + line.substr(1) + "\n";
        if (!line.empty() && line[0] != ' ') inParagraph = line.rfind(name + " ", 0) == 0;
        if (inParagraph) text += line + "\n";
    }
    return usage.empty() ? "" : usage + text;
}

}  // namespace

void printCommandHelp(const std::string& name) { std::fputs(commandHelp(name).c_str(), stdout); }

int runHelp(const Arguments& args) {
    if (args.empty()) {
        std::fputs(kHelp, stdout);
        return 0;
    }
    if (args.size() > 1) throw UsageError("usage: quorvex help [COMMAND|FILTER]");
    if (!commandHelp(args[0]).empty()) {
        printCommandHelp(args[0]);
    } else if (const qc::FilterInfo* filter = qc::findFilter(args[0])) {
        printEntry(*filter);
    } else {
        throw UsageError("help " + args[0] +
                         ": no such command or filter ('quorvex list' shows the filters)");
    }
    return 0;
}
