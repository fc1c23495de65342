// The demo writes its files and images, and its summary shows the enhancer's
// new band above the source's cut-off.
#include "cli_harness.h"

#include <gtest/gtest.h>

#include <unistd.h>
#include <cstdlib>

namespace {

// The level the summary line starting with `label` reports above the band edge.
double bandLevel(const std::string& summary, const std::string& label) {
    const size_t line = summary.find("  " + label + " ");
    return std::atof(summary.c_str() + summary.find(", -", summary.find("-bit", line)) + 2);
}

TEST(CliDemo, WritesFilesAndImagesAndAddsABandAboveTheCutoff) {
    ScratchDir dir;
    const RunResult run = runQuorvex({"demo", dir.file("")});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(readAudio(dir.file("output.wav")).info.samplerate, 88200);
    for (const char* image : {"input.png", "output.png"})
        EXPECT_EQ(access(dir.file(image).c_str(), R_OK), 0) << image;
    EXPECT_LT(bandLevel(run.out, "input"), -80.0) << run.out;
    EXPECT_GT(bandLevel(run.out, "output"), bandLevel(run.out, "input") + 30.0) << run.out;
}

}  // namespace
