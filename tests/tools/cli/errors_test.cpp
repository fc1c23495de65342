// Bad input of every kind: one clear line on stderr, a non-zero exit, no
// output or temporary file, and the input and an earlier output as they were.
#include "cli_harness.h"

#include <cstring>

namespace {

constexpr int kNoFile = 0, kText = -1;

struct BadRun {
    const char* name;
    const char* chain;
    const char* message;  // a part of the one line expected on stderr
    int status;           // 2 for usage errors, 1 for the rest
    const char* out = "out.wav";
    std::vector<std::string> extra = {};
    const char* in = "in.wav";
    int format = kWav16;  // of one second of audio written to `in`, or kNoFile or kText
    bool cut = false;     // the input cut off halfway
    long fileSizeLimit = 0;
};

void PrintTo(const BadRun& bad, std::ostream* out) { *out << bad.name; }

// Each row takes a different road to its refusal; the wording of every chain
// refusal is the chain layer's and pinned with it.
const BadRun kBadRuns[] = {
    {"MissingInput", "alc", "cannot read", 1, "out.wav", {}, "none.wav", kNoFile},
    {"NotAudio", "alc", "cannot read", 1, "out.wav", {}, "in.wav", kText},
    {"TruncatedFlac", "alc", "truncated", 1, "out.flac", {}, "in.flac", kFlac16, true},
    {"UnknownFilter", "alc nosuch:x=1", "unknown filter 'nosuch'", 2},
    {"DecibelsBetweenTheEqualizerSteps", "eq:1k=-2.5dB", "1k=-2.5dB must be a whole number", 2},
    {"BandAbsentAtThisRate", "eq:32k=+3",
     "not at the 44100 Hz of this stream; put velmo:enhance=off first", 1},
    {"SectionsFileMissing", "alc personalize:file=none.txt,enabled=off", "cannot read", 1},
    {"OutputIsTheInput", "alc", "is the input file", 2, "./in.wav"},  // another spelling
    {"FloatIntoFlac", "alc", "FLAC holds no float samples", 2, "out.flac", {"--bits", "float"}},
    {"DiskFull", "alc", "cannot write", 1, "out.wav", {}, "in.wav", kWav16, false, 100000},
    {"UnknownOutputType", "alc", ".wav, .flac and .aiff", 2, "out.mp3"},
    {"DepthTheOutputTypeCannotHold", "alc", "cannot hold 32-bit", 2, "out.flac", {"--bits", "32"}},
    {"UnknownDepth", "alc", "choose 16, 24, 32 or float", 2, "out.wav", {"--bits", "12"}},
    {"EmptyDepth", "alc", "--bits needs a value", 2, "out.wav", {"--bits="}},
    {"UnknownOption", "alc", "unknown option '--loud'", 2, "out.wav", {"--loud"}},
};

class CliBadInput : public testing::TestWithParam<BadRun> {};

TEST_P(CliBadInput, FailsWithOneClearLineAndLeavesNoOutput) {
    const BadRun& bad = GetParam();
    ScratchDir dir;
    if (bad.format == kText) writeText(dir.file(bad.in), "this is a letter, not a sound\n");
    if (bad.format > 0) writeAudio(dir.file(bad.in), bad.format, 2, musicLike(kRate, 2));
    const std::string whole = fileBytes(dir.file(bad.in));
    if (bad.cut) writeText(dir.file(bad.in), whole.substr(0, whole.size() / 2));
    if (!std::strchr(bad.out, '/')) writeText(dir.file(bad.out), "an earlier result");
    std::vector<std::string> args{"process", dir.file(bad.in), dir.file(bad.out), "--chain",
                                  bad.chain};
    args.insert(args.end(), bad.extra.begin(), bad.extra.end());
    const std::vector<std::string> before = dir.names();
    std::vector<std::string> contents;
    for (const std::string& name : before) contents.push_back(fileBytes(dir.file(name)));

    const RunResult run = runQuorvex(args, bad.fileSizeLimit);
    EXPECT_EQ(run.status, bad.status) << run.err;
    EXPECT_EQ(run.err.rfind("quorvex: ", 0), 0u) << run.err;
    EXPECT_NE(run.err.find(bad.message), std::string::npos) << run.err;
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    ASSERT_EQ(dir.names(), before) << "an output or temporary file was left behind";
    for (size_t i = 0; i < before.size(); ++i)
        EXPECT_EQ(fileBytes(dir.file(before[i])), contents[i]) << before[i] << " was changed";
}

INSTANTIATE_TEST_SUITE_P(, CliBadInput, testing::ValuesIn(kBadRuns),
                         [](const testing::TestParamInfo<BadRun>& info) {
                             return info.param.name;
                         });

}  // namespace
