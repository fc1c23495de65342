// What the tool does to the signal itself: filters it refuses to run and
// the conditioning on the way to the file.
#include "cli_harness.h"

namespace {

// An unstable section would fill the output with full-scale noise; the run
// stops before writing anything, and a stable one still runs.
TEST(CliSignal, SectionFilesWithPolesOutsideTheUnitCircleAreRefused) {
    ScratchDir dir;
    writeAudio(dir.file("in.wav"), kWav24, 2, musicLike(9600, 2, 96000), 96000);
    writeText(dir.file("unstable.txt"), "1 0 0 1 -1.8 0.81\n1 0 0 1 -2.5 1.6\n");
    writeText(dir.file("stable.txt"), "1 0 0 1 -1.8 0.81\n");
    for (const char* filter : {"hpeq", "personalize"}) {
        const RunResult refused =
            runQuorvex({"process", dir.file("in.wav"), dir.file("refused.wav"), "--chain",
                        std::string(filter) + ":file=" + dir.file("unstable.txt")});
        EXPECT_EQ(refused.status, 1) << filter;
        EXPECT_NE(refused.err.find("unstable.txt line 2: the section is unstable"),
                  std::string::npos)
            << refused.err;
        EXPECT_EQ(fileBytes(dir.file("refused.wav")), "") << filter;

        const RunResult run =
            runQuorvex({"process", dir.file("in.wav"), dir.file("out.wav"), "--chain",
                        std::string(filter) + ":file=" + dir.file("stable.txt")});
        EXPECT_EQ(run.status, 0) << filter << ": " << run.err;
    }
}

}  // namespace
