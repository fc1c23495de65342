// The demo writes its files and shows the enhancer's new band in numbers.
#include "cli_harness.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <unistd.h>

namespace {

// The level the summary line starting with `label` reports above the band edge.
double bandLevel(const std::string& summary, const std::string& label) {
    const size_t line = summary.find("  " + label + " ");
    const size_t level = summary.find(", -", summary.find("-bit", line));
    return std::atof(summary.c_str() + level + 2);
}

TEST(CliDemo, WritesBothFilesAndSpectrogramsAndAddsABandAboveTheCutoff) {
    ScratchDir dir;
    const RunResult run = runQuorvex({"demo", dir.file("")});
    ASSERT_EQ(run.status, 0) << run.err;

    const Audio in = readAudio(dir.file("input.wav"));
    const Audio out = readAudio(dir.file("output.wav"));
    EXPECT_EQ(in.info.format, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    EXPECT_EQ(in.info.samplerate, 44100);
    EXPECT_EQ(out.info.format, SF_FORMAT_WAV | SF_FORMAT_PCM_24);
    EXPECT_EQ(out.info.samplerate, 88200);
    EXPECT_EQ(access(dir.file("input.png").c_str(), R_OK), 0);
    EXPECT_EQ(access(dir.file("output.png").c_str(), R_OK), 0);

    const double before = bandLevel(run.out, "input");
    const double after = bandLevel(run.out, "output");
    EXPECT_LT(before, -80.0) << run.out;
    EXPECT_GT(after, before + 30.0) << run.out;
}

}  // namespace
