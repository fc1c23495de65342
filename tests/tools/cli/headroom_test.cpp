// Headroom on loud sources: surround adds level that clips a loud master;
// a gain step before it or --norm keep the output within full scale, and
// --norm lands the output's peak at the level asked for.
#include "cli_harness.h"

namespace {

TEST(CliHeadroom, GainAndNormKeepALoudSurroundRunWithinFullScale) {
    ScratchDir dir;
    std::vector<double> loud = musicLike(kRate / 2, 2);
    for (double& x : loud) x *= 1.9;  // peaks near -0.5 dBFS
    writeAudio(dir.file("in.wav"), kWav16, 2, loud);
    writeAudio(dir.file("in.flac"), kFlac16, 2, loud);
    const std::string all = "surround:hall=1,natural=1,live=1,wide=1,echo=1,3d=1";
    struct Case {
        const char* in;
        std::string chain;
        std::vector<std::string> options;
        bool clips;
        double lowestPeakDb, highestPeakDb;  // of the decoded output
    };
    const Case cases[] = {
        {"in.wav", all, {}, true, -0.01, 0.0},
        {"in.wav", "gain:-12 " + all, {}, false, -20.0, -0.01},
        {"in.wav", all, {"--norm"}, false, -0.11, -0.09},
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
        const std::string label = c.chain + " " + (c.options.empty() ? "" : c.options[0]);
        ASSERT_EQ(run.status, 0) << label << ": " << run.err;
        EXPECT_EQ(run.err.find("over full scale") != std::string::npos, c.clips)
            << label << ": " << run.err;
        EXPECT_EQ(run.err.find("--norm") != std::string::npos, c.clips) << run.err;
        double peak = 0.0;
        for (const double x : readAudio(dir.file("out.wav")).values)
            peak = std::fmax(peak, std::fabs(x));
        EXPECT_GE(20 * std::log10(peak), c.lowestPeakDb) << label;
        EXPECT_LE(20 * std::log10(peak), c.highestPeakDb) << label;
    }
}

}  // namespace
