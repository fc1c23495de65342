// Headroom on loud sources: surround adds level that clips a loud master;
// a gain step before it or --norm keep the output within full scale, and
// --norm lands the output's peak at the level asked for.
#include "cli_harness.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace {

double peakDb(const std::vector<double>& samples) {
    double peak = 0.0;
    for (const double x : samples) peak = std::fmax(peak, std::fabs(x));
    return 20.0 * std::log10(peak);
}

TEST(CliHeadroom, GainAndNormKeepALoudSurroundRunWithinFullScale) {
    ScratchDir dir;
    std::vector<double> loud = musicLike(kRate / 2, 2);
    for (double& x : loud) x *= 1.9;  // peaks near -0.5 dBFS
    writeAudio(dir.file("in.wav"), kWav16, 2, loud);
    writeAudio(dir.file("in.flac"), kFlac16, 2, loud);
    struct Case {
        const char* in;
        const char* chain;
        std::vector<std::string> options;
        bool clips;
        double lowestPeakDb;  // of the decoded output
        double highestPeakDb;
    };
    const Case cases[] = {
        {"in.wav", "surround:hall=1,natural=1,live=1,wide=1,echo=1,3d=1", {}, true, -0.01, 0.0},
        {"in.wav",
         "gain:-12 surround:hall=1,natural=1,live=1,wide=1,echo=1,3d=1",
         {},
         false,
         -20.0,
         -0.01},
        {"in.wav",
         "surround:hall=1,natural=1,live=1,wide=1,echo=1,3d=1",
         {"--norm"},
         false,
         -0.11,
         -0.09},
        {"in.flac", "surround", {"--norm=-3"}, false, -3.01, -2.99},
        {"in.wav",
         "surround gain:-2 eq:1k=+3",
         {"--norm=-1", "--bits", "24"},
         false,
         -1.001,
         -0.999},
    };
    for (const Case& c : cases) {
        std::vector<std::string> args = {"process", dir.file(c.in), dir.file("out.wav"), "--chain",
                                         c.chain};
        args.insert(args.end(), c.options.begin(), c.options.end());
        const RunResult run = runQuorvex(args);
        const std::string label =
            std::string(c.chain) + " " + (c.options.empty() ? "" : c.options[0]);
        ASSERT_EQ(run.status, 0) << label << ": " << run.err;
        EXPECT_EQ(run.err.find("over full scale") != std::string::npos, c.clips)
            << label << ": " << run.err;
        EXPECT_EQ(run.err.find("--norm") != std::string::npos, c.clips) << run.err;
        const double peak = peakDb(readAudio(dir.file("out.wav")).values);
        EXPECT_GE(peak, c.lowestPeakDb) << label;
        EXPECT_LE(peak, c.highestPeakDb) << label;
    }
}

// Standard input is kept in a temporary file, which the measuring pass and
// the real run both read.
TEST(CliHeadroom, NormReadsAPipeTwice) {
    ScratchDir dir;
    writeAudio(dir.file("in.wav"), kWav16, 2, musicLike(kRate / 2, 2));
    const RunResult run = runProgram(
        "/bin/sh", {"-c", "cat " + dir.file("in.wav") + " | " QUORVEX_CLI_PATH " process - " +
                              dir.file("out.wav") + " --chain eq:1k=+3 --norm=-2"});
    ASSERT_EQ(run.status, 0) << run.err;
    const Audio out = readAudio(dir.file("out.wav"));
    EXPECT_EQ(out.info.frames, kRate / 2);
    EXPECT_NEAR(peakDb(out.values), -2.0, 0.001);
}

TEST(CliHeadroom, NormRefusesWhatItCannotDo) {
    ScratchDir dir;
    writeAudio(dir.file("in.wav"), kWav16, 2, musicLike(kRate / 10, 2));
    const std::pair<std::vector<std::string>, const char*> refusals[] = {
        {{"--chain", "surround", "--norm=+3"}, "--norm=+3: give the peak level in dBFS"},
        {{"--chain", "surround", "--norm", "--norm"}, "--norm is given twice"},
        {{"--chain", "hold", "--norm"}, "--norm: hold runs alone in its chain"},
        {{"--chain", "alc alc alc alc alc alc alc alc alc alc", "--norm"},
         "the chain already holds the most filters"},
    };
    for (const auto& refusal : refusals) {
        std::vector<std::string> args = {"process", dir.file("in.wav"), dir.file("out.wav")};
        args.insert(args.end(), refusal.first.begin(), refusal.first.end());
        const RunResult run = runQuorvex(args);
        EXPECT_NE(run.status, 0) << refusal.second;
        EXPECT_NE(run.err.find(refusal.second), std::string::npos) << run.err;
    }
}

}  // namespace
