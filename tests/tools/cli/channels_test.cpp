// Mono sources come out mono: the chain runs on two equal channels, folded
// back as (L + R) / 2, so a chain that keeps them equal gives exactly its
// stereo run's left channel; --stereo keeps both.
#include "cli_harness.h"

namespace {

Audio runMono(const ScratchDir& dir, const std::string& in, const char* chain,
              std::vector<std::string> options, const std::string& out) {
    std::vector<std::string> args = {"process", dir.file(in), dir.file(out), "--chain", chain};
    args.insert(args.end(), options.begin(), options.end());
    const RunResult run = runQuorvex(args);
    EXPECT_EQ(run.status, 0) << chain << ": " << run.err;
    return readAudio(dir.file(out));
}

TEST(CliChannels, MonoComesOutMonoFoldedFromTheStereoRun) {
    ScratchDir dir;
    writeAudio(dir.file("in16.wav"), kWav16, 1, musicLike(kRate / 4, 1));
    writeAudio(dir.file("in24.flac"), kFlac24, 1, musicLike(kRate / 4, 1));
    writeAudio(dir.file("infloat.wav"), kWavFloat, 1, musicLike(kRate / 4, 1));
    struct Case {
        const char* in;
        const char* chain;
        std::vector<std::string> options;
        bool channelsEqual;  // the chain keeps L = R: mono is the left channel bit for bit
    };
    const Case cases[] = {
        {"in16.wav", "eq:1k=+3", {}, true},  // the integer road
        {"in16.wav", "velmo", {}, true},     // integer road, new rate and depth
        {"in24.flac", "eq:1k=-3", {"--bits", "16", "--no-dither"}, true},  // narrowing
        {"infloat.wav", "gain:-3 eq:63=+2", {}, true},                     // doubles, float out
        {"in16.wav", "eq:1k=+3", {"--bits", "24"}, true},                  // doubles, integer out
        {"in16.wav", "surround:wide=1", {}, false},
    };
    for (const Case& c : cases) {
        const Audio mono = runMono(dir, c.in, c.chain, c.options, "mono.wav");
        std::vector<std::string> stereoOptions = c.options;
        stereoOptions.push_back("--stereo");
        const Audio stereo = runMono(dir, c.in, c.chain, stereoOptions, "stereo.wav");
        ASSERT_EQ(mono.info.channels, 1) << c.chain;
        ASSERT_EQ(stereo.info.channels, 2) << c.chain;
        ASSERT_EQ(2 * mono.values.size(), stereo.values.size()) << c.chain;
        const double step = std::ldexp(1.0, -15);
        bool differ = false;
        for (size_t f = 0; f < mono.values.size(); ++f) {
            const double left = stereo.values[2 * f], right = stereo.values[2 * f + 1];
            differ = differ || left != right;
            if (c.channelsEqual)
                ASSERT_EQ(mono.values[f], left) << c.chain << ", frame " << f;
            else
                ASSERT_NEAR(mono.values[f], (left + right) / 2, step) << c.chain << ", frame " << f;
        }
        EXPECT_EQ(differ, !c.channelsEqual) << c.chain;
    }
}

}  // namespace
