// quorvex list and quorvex help: what the tool offers and how to ask for it.
#include "commands.h"
#include "error.h"

#include <quorvex/chain.h>

#include <cstdio>

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

void printEntry(const qc::FilterInfo& entry) {
    std::printf("%s: %s\n", entry.name.c_str(), entry.summary.c_str());
    std::printf("    acts at %s\n", entry.rates.c_str());
    if (!entry.sharedState.empty())
        std::printf("    one per chain: all instances share one %s\n", entry.sharedState.c_str());
    if (!entry.positional.empty())
        std::printf("    %s:VALUE sets %s\n", entry.name.c_str(), entry.positional.c_str());
    for (const qc::Parameter& param : entry.params) {
        const std::string syntax = param.key + "=" + valueSyntax(param);
        const std::string fallback =
            param.defaultValue.empty() ? "" : " (default " + param.defaultValue + ")";
        std::printf("    %-30s %s%s\n", syntax.c_str(), param.help.c_str(), fallback.c_str());
    }
}

constexpr const char* kHelp = R"(quorvex: runs audio files through chains of the library's filters

usage:
  quorvex process IN OUT --chain "CHAIN" [--bits 16|24|32|float] [--no-dither]
                  [--quiet]
  quorvex info FILE
  quorvex list
  quorvex demo [DIR]
  quorvex help

process   reads IN, runs it through CHAIN and writes OUT (.wav, .flac or .aiff).
          OUT gets the rate and depth the chain produces (twice the rate and
          24 bits after velmo; the fixed rate after resample) unless --bits
          asks for another depth. Integer sources take the library's integer
          road (unless the chain rises above twice its output rate on the
          way); float sources stay doubles. Mono input comes out as stereo.
          Samples over full scale are clipped on the way to integers, with a
          warning. Fewer bits out than the source holds get triangular
          dither (--no-dither: rounding to the nearest step). OUT appears
          only when everything went well; IN is never changed. A progress
          bar shows on stderr when it is a terminal (--quiet: none, and no
          warnings).
info      format, rate, depth, channels, length, peak and RMS level of FILE.
list      every filter with its parameters, ranges, defaults and rates.
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

int runHelp(const Arguments&) {
    std::fputs(kHelp, stdout);
    return 0;
}
