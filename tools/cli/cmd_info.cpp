// quorvex info FILE...: what each file holds, and how loud it is.
#include "audio_file.h"
#include "commands.h"
#include "error.h"

#include <cmath>
#include <cstdio>
#include <vector>

namespace {

constexpr int kBlockFrames = 4096;

struct Levels {
    double peak = 0.0;
    double sumOfSquares = 0.0;
    long long samples = 0;
};

Levels measure(InputFile& file) {
    Levels levels;
    std::vector<double> block(static_cast<size_t>(kBlockFrames * file.info().channels));
    while (const long long frames = file.readInterleaved(block.data(), kBlockFrames)) {
        const long long count = frames * file.info().channels;
        for (long long i = 0; i < count; ++i) {
            const double x = block[static_cast<size_t>(i)];
            levels.peak = std::fmax(levels.peak, std::fabs(x));
            levels.sumOfSquares += x * x;
        }
        levels.samples += count;
    }
    file.requireFullyRead();
    return levels;
}

std::string decibels(double linear) {
    if (linear <= 0.0) return "-inf dBFS";
    char text[32];
    std::snprintf(text, sizeof text, "%.2f dBFS", 20.0 * std::log10(linear));
    return text;
}

std::string duration(long long frames, int rate) {
    const double seconds = static_cast<double>(frames) / rate;
    const int minutes = static_cast<int>(seconds / 60.0);
    char text[32];
    std::snprintf(text, sizeof text, "%d:%06.3f", minutes, seconds - 60.0 * minutes);
    return text;
}

void describe(const std::string& path) {
    InputFile file(path);
    const SF_INFO& info = file.info();
    const Levels levels = measure(file);
    const double rms = levels.samples > 0 ? std::sqrt(levels.sumOfSquares / levels.samples) : 0.0;
    std::printf("file      %s\n", file.path().c_str());
    std::printf("format    %s\n", file.describeContainer().c_str());
    std::printf("encoding  %s\n", file.describeEncoding().c_str());
    std::printf("rate      %d Hz\n", info.samplerate);
    std::printf("channels  %d\n", info.channels);
    std::printf("length    %s (%lld frames)\n", duration(info.frames, info.samplerate).c_str(),
                static_cast<long long>(info.frames));
    std::printf("peak      %s (%.6f)\n", decibels(levels.peak).c_str(), levels.peak);
    std::printf("rms       %s\n", decibels(rms).c_str());
}

}  // namespace

int runInfo(const Arguments& args) {
    if (args.empty()) throw UsageError("usage: quorvex info FILE...");
    for (size_t i = 0; i < args.size(); ++i) {
        if (i > 0) std::printf("\n");
        std::fflush(stdout);  // a failure on a later file comes after the earlier reports
        describe(args[i]);
    }
    return 0;
}
