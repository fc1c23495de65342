// Inputs cut off halfway, or inside the audio chunk's header: refused by
// default; --allow-truncated processes the frames that are there, exactly as
// they come out of the whole file, and warns.
#include "cli_harness.h"

namespace {

struct CutFile {
    const char* name;
    int format;
    int headerCut;  // bytes past the start of "data" to cut at; 0: at half the file
};

TEST(CliTruncated, RefusedUnlessAskedThenTheFramesThereComeOut) {
    const CutFile cuts[] = {{"in.wav", kWav16, 0}, {"in.flac", kFlac16, 0}, {"in.aiff", kAiff24, 0},
                            {"in.wav", kWav16, 5}, {"in.wav", kWav16, 7},   {"in.wav", kWav16, 8}};
    for (const CutFile& c : cuts) {
        SCOPED_TRACE(std::string(c.name) + " cut " + std::to_string(c.headerCut));
        ScratchDir dir;
        const std::string in = dir.file(c.name), whole = dir.file(std::string("whole-") + c.name);
        const std::string out = dir.file(std::string("out-") + c.name);
        writeAudio(whole, c.format, 2, musicLike(kRate, 2));
        const std::string bytes = fileBytes(whole);
        writeText(
            in, bytes.substr(0, c.headerCut ? bytes.find("data") + c.headerCut : bytes.size() / 2));
        const std::vector<std::string> args{"process", in, out, "--chain", "eq:1k=-3"};

        const RunResult refused = runQuorvex(args);
        EXPECT_EQ(refused.status, 1) << refused.err;
        EXPECT_NE(refused.err.find(c.headerCut ? in + " is truncated" : "truncated"),
                  std::string::npos)
            << refused.err;
        EXPECT_EQ(fileBytes(out), "") << "a refused run left an output";

        std::vector<std::string> salvaging = args;
        salvaging.push_back("--allow-truncated");
        const RunResult salvaged = runQuorvex(salvaging);
        ASSERT_EQ(salvaged.status, 0) << salvaged.err;
        EXPECT_EQ(salvaged.err.rfind("quorvex: warning: " + in + " is truncated", 0), 0u)
            << salvaged.err;
        EXPECT_EQ(std::count(salvaged.err.begin(), salvaged.err.end(), '\n'), 1) << salvaged.err;

        const std::string reference = dir.file(std::string("ref-") + c.name);
        ASSERT_EQ(runQuorvex({"process", whole, reference, "--chain", "eq:1k=-3"}).status, 0);
        const Audio part = readAudio(out), full = readAudio(reference);
        if (c.headerCut) {
            EXPECT_EQ(part.info.frames, 0);
            continue;
        }
        EXPECT_GT(part.info.frames, kRate * 2 / 5);
        EXPECT_LE(part.info.frames, kRate / 2);
        ASSERT_LE(part.values.size(), full.values.size());
        EXPECT_TRUE(std::equal(part.values.begin(), part.values.end(), full.values.begin()))
            << "the salvaged frames differ from the whole file's";
    }
}

}  // namespace
