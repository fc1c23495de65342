// quorvex demo [DIR]: the library at work on a signal made for the occasion:
// band-limited like compressed music, equalized, then enhanced to twice the
// rate with new content above the old band, shown in two spectrograms.
#include "audio_file.h"
#include "commands.h"
#include "demo_signal.h"
#include "error.h"
#include "processing.h"

#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>

extern char** environ;

namespace {

constexpr int kRate = 44100;
constexpr double kSeconds = 6.0;
constexpr double kCutoffHz = 16000.0;
constexpr double kBandEdgeHz = 17000.0;  // where the measurement of new content begins
constexpr const char* kChain = "eq:63=+3,16k=+2 velmo:enhance=on,source=mp3,mode=fine";

std::vector<double> readWhole(const std::string& path, int& rate) {
    InputFile file(path);
    rate = file.info().samplerate;
    std::vector<double> stereo(static_cast<size_t>(2 * file.info().frames));
    file.readStereo(stereo.data(), file.info().frames);
    return stereo;
}

void drawSpectrogram(const std::string& audio, const std::string& image, const std::string& title) {
    const char* argv[] = {"sox",  audio.c_str(), "-n",          "spectrogram", "-x",
                          "1000", "-t",          title.c_str(), "-c",          "quorvex demo",
                          "-o",   image.c_str(), nullptr};
    pid_t child;
    const int failed =
        posix_spawnp(&child, "sox", nullptr, nullptr, const_cast<char**>(argv), environ);
    if (failed != 0)
        throw CliError("cannot run sox to draw " + image + ": " + std::strerror(failed) +
                       " (tools/setup-debian.sh installs it)");
    int status = 0;
    waitpid(child, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        throw CliError("sox could not draw " + image);
}

std::string bandLevel(const std::string& path) {
    int rate = 0;
    const std::vector<double> stereo = readWhole(path, rate);
    char text[64];
    std::snprintf(text, sizeof text, "%.1f dBFS RMS above %.0f kHz",
                  levelAbove(stereo, rate, kBandEdgeHz), kBandEdgeHz / 1000.0);
    return text;
}

}  // namespace

int runDemo(const Arguments& args) {
    if (args.size() > 1) throw UsageError("usage: quorvex demo [DIR]");
    const std::string dir = args.empty() ? "quorvex-demo" : args[0];
    makeDirectories(dir);
    const std::string input = dir + "/input.wav";
    const std::string output = dir + "/output.wav";

    OutputFile source(input, kRate, SampleEncoding::Pcm16);
    const std::vector<double> signal = demoSignal(kRate, kSeconds, kCutoffHz);
    source.writeStereo(signal.data(), static_cast<long long>(signal.size() / 2));
    source.commit();

    ProcessRequest request;
    request.input = input;
    request.output = output;
    request.chain = kChain;
    const ProcessResult result = processFile(request);

    drawSpectrogram(input, dir + "/input.png",
                    "quorvex demo: input, 44.1 kHz 16-bit, band-limited at 16 kHz");
    drawSpectrogram(output, dir + "/output.png", "quorvex demo: output of " + result.chainName);

    std::printf("quorvex demo\n");
    std::printf(
        "  signal  %.0f s of plucked tones with harmonics, a sweep and noise bursts,\n"
        "          band-limited at %.0f kHz like compressed music\n",
        kSeconds, kCutoffHz / 1000.0);
    std::printf("  chain   %s\n          %s\n", kChain, result.chainName.c_str());
    std::printf("  input   %s   %d Hz, %d-bit, %s\n", input.c_str(), result.input.rate,
                result.input.bits, bandLevel(input).c_str());
    std::printf("  output  %s  %d Hz, %s, %s\n", output.c_str(), result.output.rate,
                result.outputEncoding.c_str(), bandLevel(output).c_str());
    std::printf("  images  %s/input.png  %s/output.png\n", dir.c_str(), dir.c_str());
    std::printf("  time    %.3f s for %.0f s of audio (%.0fx realtime)\n", result.seconds, kSeconds,
                kSeconds / result.seconds);
    return 0;
}
