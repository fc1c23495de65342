// Bad input of every kind: one clear line on stderr, a non-zero exit, no
// output file, no temporary left behind, and the input as it was.
#include "cli_harness.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <unistd.h>

namespace {

constexpr int kRate = 44100;

struct BadRun {
    const char* name;
    std::function<std::vector<std::string>(const ScratchDir&)> setUp;  // returns the arguments
    const char* message;  // a part of the one line expected on stderr
    long fileSizeLimit = 0;
};

std::vector<std::string> processArgs(const ScratchDir& dir, const std::string& in,
                                     const std::string& out, const std::string& chain) {
    return {"process", dir.file(in), dir.file(out), "--chain", chain};
}

void writeStereo(const ScratchDir& dir, const std::string& name, int format, int seconds = 1) {
    writeAudio(dir.file(name), format, kRate, 2, musicLike(seconds * kRate, 2, kRate));
}

void cutFile(const std::string& path, double keep) {
    const std::string bytes = fileBytes(path);
    writeText(path, bytes.substr(0, static_cast<size_t>(bytes.size() * keep)));
}

std::vector<std::string> goodInput(const ScratchDir& dir, const std::string& out,
                                   const std::string& chain) {
    writeStereo(dir, "in.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    return processArgs(dir, "in.wav", out, chain);
}

const BadRun kBadRuns[] = {
    {"MissingInput",
     [](const ScratchDir& dir) { return processArgs(dir, "none.wav", "out.wav", "alc"); },
     "cannot read"},
    {"NotAudio",
     [](const ScratchDir& dir) {
         writeText(dir.file("in.wav"), "this is a letter, not a sound\n");
         return processArgs(dir, "in.wav", "out.wav", "alc");
     },
     "cannot read"},
    {"TruncatedWav",
     [](const ScratchDir& dir) {
         writeStereo(dir, "in.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16);
         cutFile(dir.file("in.wav"), 0.5);
         return processArgs(dir, "in.wav", "out.wav", "alc");
     },
     "truncated"},
    {"TruncatedFlac",
     [](const ScratchDir& dir) {
         writeStereo(dir, "in.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
         cutFile(dir.file("in.flac"), 0.5);
         return processArgs(dir, "in.flac", "out.flac", "alc");
     },
     "truncated"},
    {"TruncatedAiff",
     [](const ScratchDir& dir) {
         writeStereo(dir, "in.aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_24);
         cutFile(dir.file("in.aiff"), 0.5);
         return processArgs(dir, "in.aiff", "out.aiff", "alc");
     },
     "truncated"},
    {"MoreThanTwoChannels",
     [](const ScratchDir& dir) {
         writeAudio(dir.file("in.wav"), SF_FORMAT_WAV | SF_FORMAT_PCM_16, kRate, 3,
                    musicLike(kRate, 3, kRate));
         return processArgs(dir, "in.wav", "out.wav", "alc");
     },
     "3 channels"},
    {"UnknownFilter",
     [](const ScratchDir& dir) { return goodInput(dir, "out.wav", "alc nosuch:x=1"); },
     "unknown filter 'nosuch'"},
    {"UnknownParameter",
     [](const ScratchDir& dir) { return goodInput(dir, "out.wav", "alc:gain=3"); },
     "unknown parameter 'gain'"},
    {"ValueOutOfRange",
     [](const ScratchDir& dir) { return goodInput(dir, "out.wav", "alc:recovery=2"); },
     "recovery takes 0 to 1"},
    {"ValueNotANumber",
     [](const ScratchDir& dir) { return goodInput(dir, "out.wav", "alc:recovery=fast"); },
     "not a number"},
    {"ValueNotWhole",
     [](const ScratchDir& dir) { return goodInput(dir, "out.wav", "resample:48000.5"); },
     "rate=48000.5 must be a whole number"},
    {"DecibelsBetweenTheEqualizerSteps",
     [](const ScratchDir& dir) { return goodInput(dir, "out.wav", "eq:1k=-2.5dB"); },
     "1k=-2.5dB must be a whole number"},
    {"RatesWithoutCommonMultiple",
     [](const ScratchDir& dir) { return goodInput(dir, "out.wav", "resample:44101"); },
     "have no common multiple"},
    {"IntegerFilterInAChain",
     [](const ScratchDir& dir) { return goodInput(dir, "out.wav", "alc hold"); },
     "cannot share a chain"},
    {"SharedStateFilterTwice",
     [](const ScratchDir& dir) { return goodInput(dir, "out.wav", "eq:63=+3 alc eq:1k=-2"); },
     "holds eq twice"},
    {"BandAbsentAtThisRate",
     [](const ScratchDir& dir) { return goodInput(dir, "out.wav", "eq:32k=+3"); },
     "acts only at 88200 and 96000 Hz"},
    {"HighRateFilterOnCdAudio",
     [](const ScratchDir& dir) { return goodInput(dir, "out.wav", "hpeq"); },
     "works at 88200 or 96000 Hz"},
    {"EnhancerAtAnUnsupportedRate",
     [](const ScratchDir& dir) {
         writeAudio(dir.file("in.wav"), SF_FORMAT_WAV | SF_FORMAT_PCM_16, 96000, 2, musicLike(9600, 2, 96000));
         return processArgs(dir, "in.wav", "out.wav", "velmo:enhance=on");
     },
     "velmo works at 44100 or 48000 Hz, not at the 96000 Hz"},
    {"EnhancerOnA32BitSource",
     [](const ScratchDir& dir) {
         writeStereo(dir, "in.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_32);
         return processArgs(dir, "in.wav", "out.wav", "velmo");
     },
     "velmo enhances 16- and 24-bit sources"},
    {"SectionsFileMissing",
     [](const ScratchDir& dir) { return goodInput(dir, "out.wav", "alc personalize:file=none.txt,enabled=off"); },
     "cannot read"},
    {"OutputIsTheInput",
     [](const ScratchDir& dir) {
         writeStereo(dir, "in.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16);
         return processArgs(dir, "in.wav", "./in.wav", "alc");  // another spelling, same file
     },
     "is the input file"},
    {"OutputDirectoryMissing",
     [](const ScratchDir& dir) { return goodInput(dir, "missing/out.wav", "alc"); },
     "cannot write"},
    {"OutputDirectoryIsAFile",
     [](const ScratchDir& dir) { return goodInput(dir, "in.wav/out.wav", "alc"); },
     "cannot write"},
    {"DiskFull",
     [](const ScratchDir& dir) {
         writeStereo(dir, "in.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 3);
         return processArgs(dir, "in.wav", "out.wav", "alc");
     },
     "cannot write", 200000},
    {"UnknownOutputType",
     [](const ScratchDir& dir) { return goodInput(dir, "out.mp3", "alc"); },
     ".wav, .flac and .aiff"},
    {"DepthTheOutputTypeCannotHold",
     [](const ScratchDir& dir) {
         auto args = goodInput(dir, "out.flac", "alc");
         args.insert(args.end(), {"--bits", "32"});
         return args;
     },
     "cannot hold 32-bit"},
    {"UnknownDepth",
     [](const ScratchDir& dir) {
         auto args = goodInput(dir, "out.wav", "alc");
         args.insert(args.end(), {"--bits", "12"});
         return args;
     },
     "choose 16, 24, 32 or float"},
    {"EmptyDepth",
     [](const ScratchDir& dir) {
         auto args = goodInput(dir, "out.wav", "alc");
         args.push_back("--bits=");
         return args;
     },
     "--bits needs a value"},
};

void PrintTo(const BadRun& bad, std::ostream* out) { *out << bad.name; }

class CliBadInput : public testing::TestWithParam<BadRun> {};

TEST_P(CliBadInput, FailsWithOneClearLineAndLeavesNoOutput) {
    const BadRun& bad = GetParam();
    ScratchDir dir;
    const std::vector<std::string> args = bad.setUp(dir);
    std::vector<std::string> before = dir.names();
    std::vector<std::string> inputs;
    for (const std::string& name : before) inputs.push_back(fileBytes(dir.file(name)));

    RunOptions options;
    options.fileSizeLimit = bad.fileSizeLimit;
    const RunResult run = runQuorvex(args, options);

    EXPECT_GT(run.status, 0);
    EXPECT_NE(run.err.find(bad.message), std::string::npos) << run.err;
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    EXPECT_EQ(run.err.rfind("quorvex: ", 0), 0u) << run.err;
    std::vector<std::string> after = dir.names();
    std::sort(before.begin(), before.end());
    std::sort(after.begin(), after.end());
    EXPECT_EQ(after, before) << "an output or temporary file was left behind";
    for (size_t i = 0; i < before.size(); ++i)
        EXPECT_EQ(fileBytes(dir.file(before[i])), inputs[i]) << before[i] << " was changed";
}

INSTANTIATE_TEST_SUITE_P(, CliBadInput, testing::ValuesIn(kBadRuns),
                         [](const testing::TestParamInfo<BadRun>& info) { return info.param.name; });

// A failed run must not destroy an earlier file at the output path either.
TEST(CliBadInputKeeps, AnExistingOutputFileUntouched) {
    ScratchDir dir;
    writeStereo(dir, "in.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    cutFile(dir.file("in.wav"), 0.5);
    writeText(dir.file("out.wav"), "an earlier result");
    const RunResult run = runQuorvex(processArgs(dir, "in.wav", "out.wav", "alc"));
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(fileBytes(dir.file("out.wav")), "an earlier result");
}

}  // namespace
