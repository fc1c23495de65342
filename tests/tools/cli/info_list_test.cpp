// info reports what a file holds; list shows filters that all really run.
#include "cli_harness.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

namespace {

TEST(CliInfo, ReportsFormatLengthAndLevels) {
    ScratchDir dir;
    const int rate = 48000;
    std::vector<double> sine(2 * rate / 2);  // half a second, -6.02 dBFS peak, -9.03 dBFS RMS
    for (size_t i = 0; i < sine.size(); ++i)
        sine[i] = 0.5 * std::sin(2.0 * std::acos(-1.0) * 1000.0 * static_cast<double>(i / 2) / rate);
    writeAudio(dir.file("tone.flac"), SF_FORMAT_FLAC | SF_FORMAT_PCM_24, rate, 2, sine);

    const RunResult run = runQuorvex({"info", dir.file("tone.flac")});
    ASSERT_EQ(run.status, 0) << run.err;
    for (const char* line : {"FLAC", "24 bit", "rate      48000 Hz", "channels  2",
                             "length    0:00.500 (24000 frames)", "peak      -6.02 dBFS",
                             "rms       -9.03 dBFS"})
        EXPECT_NE(run.out.find(line), std::string::npos) << line << " missing from\n" << run.out;
}

TEST(CliInfo, RefusesWhatIsNotAudio) {
    ScratchDir dir;
    writeText(dir.file("notes.wav"), "no sound here");
    const RunResult run = runQuorvex({"info", dir.file("notes.wav")});
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find("cannot read"), std::string::npos) << run.err;
}

std::vector<std::string> listedFilters() {
    std::vector<std::string> names;
    std::istringstream lines(runQuorvex({"list"}).out);
    for (std::string line; std::getline(lines, line);)
        if (!line.empty() && line[0] != ' ') names.push_back(line.substr(0, line.find(':')));
    return names;
}

// Every filter `list` names builds with its defaults and runs, on CD audio
// or, for those that act only at high rates, on 96 kHz audio.
TEST(CliList, EveryListedFilterRunsWithItsDefaults) {
    ScratchDir dir;
    for (int rate : {44100, 96000})
        writeAudio(dir.file(std::to_string(rate) + ".wav"), SF_FORMAT_WAV | SF_FORMAT_PCM_16, rate, 2,
                   musicLike(rate / 10, 2, rate));
    const std::vector<std::string> names = listedFilters();
    EXPECT_GE(names.size(), 2u);
    for (const std::string& name : names) {
        bool ran = false;
        std::string errors;
        for (const char* input : {"44100.wav", "96000.wav"}) {
            const RunResult run =
                runQuorvex({"process", dir.file(input), dir.file("out.wav"), "--chain", name});
            ran = ran || run.status == 0;
            errors += run.err;
        }
        EXPECT_TRUE(ran) << name << ": " << errors;
    }
}

TEST(CliHelp, UnknownCommandsAndOptionsAreUsageErrors) {
    EXPECT_EQ(runQuorvex({"help"}).status, 0);
    EXPECT_EQ(runQuorvex({"frobnicate"}).status, 2);
    EXPECT_EQ(runQuorvex({"process", "a.wav", "b.wav", "--chain", "alc", "--loud"}).status, 2);
    EXPECT_EQ(runQuorvex({"process", "a.wav", "b.wav"}).status, 2);
}

}  // namespace
