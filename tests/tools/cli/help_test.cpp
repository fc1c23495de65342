// Help, version and the command line around the commands.
#include "cli_harness.h"

#include <cstdlib>

namespace {

struct Ask {
    std::vector<std::string> args;
    int status;
    const char* firstLine;  // the start of stdout's first line, or of stderr's when failing
};

TEST(CliHelp, EveryWayOfAskingGetsItsAnswer) {
    const Ask asks[] = {
        {{"--version"}, 0, "quorvex 0."},
        {{"-V"}, 0, "quorvex 0."},
        {{}, 0, "quorvex: runs audio files"},
        {{"--help"}, 0, "quorvex: runs audio files"},
        {{"help"}, 0, "quorvex: runs audio files"},
        {{"process", "--help"}, 0, "usage: quorvex process"},
        {{"process", "a.wav", "-h"}, 0, "usage: quorvex process"},
        {{"help", "process"}, 0, "usage: quorvex process"},
        {{"help", "velmo"}, 0, "velmo: up-sampling enhancer"},
        {{"help", "nosuch"}, 2, "quorvex: help nosuch: no such command or filter"},
        {{"nosuch"}, 2, "quorvex: unknown command 'nosuch'"},
        {{"info"}, 2, "quorvex: usage: quorvex info FILE..."},
        {{"process", "a.wav", "b.wav", "-c", "alc", "--chain", "eq"},
         2,
         "quorvex: --chain is given twice"},
        {{"process", "-t", "wav", "-t", "flac", "a", "b.wav", "-c", "alc"},
         2,
         "quorvex: --type is given twice"},
    };
    for (const Ask& ask : asks) {
        std::string asked;
        for (const std::string& arg : ask.args) asked += " " + arg;
        const RunResult run = runQuorvex(ask.args);
        EXPECT_EQ(run.status, ask.status) << asked << ": " << run.err;
        const std::string& text = ask.status == 0 ? run.out : run.err;
        EXPECT_EQ(text.rfind(ask.firstLine, 0), 0u) << asked << ": " << text;
    }
}

// Options before the command work as after it; several files get a report each.
TEST(CliHelp, OptionsMayPrecedeTheCommandAndInfoTakesSeveralFiles) {
    ScratchDir dir;
    writeAudio(dir.file("in.wav"), kWav16, 2, musicLike(kRate / 4, 2));
    const RunResult run = runQuorvex(
        {"--bits", "24", "-c", "eq:1k=+3", "process", dir.file("in.wav"), dir.file("out.wav")});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(readAudio(dir.file("out.wav")).info.format, kWav24);

    const RunResult info = runQuorvex({"info", dir.file("in.wav"), dir.file("out.wav")});
    ASSERT_EQ(info.status, 0) << info.err;
    EXPECT_NE(info.out.find("file      " + dir.file("in.wav") + "\n"), std::string::npos);
    EXPECT_NE(info.out.find("\n\nfile      " + dir.file("out.wav") + "\n"), std::string::npos);
    EXPECT_NE(info.out.find("Signed 24 bit PCM"), std::string::npos) << info.out;

    const RunResult missing = runQuorvex({"info", dir.file("in.wav"), dir.file("none.wav")});
    EXPECT_EQ(missing.status, 1);
    EXPECT_NE(missing.out.find("file      " + dir.file("in.wav")), std::string::npos);
}

// list wraps its lines to the width it is given, continuing them indented so
// that a filter's name stays the only thing at the start of a line.
TEST(CliHelp, ListWrapsToTheWidth) {
    std::istringstream wideLines(runQuorvex({"list"}).out);
    std::string wideWords;
    for (std::string word; wideLines >> word;) wideWords += word + " ";
    for (const int width : {60, 72}) {
        setenv("COLUMNS", std::to_string(width).c_str(), 1);
        const RunResult run = runQuorvex({"list"});
        unsetenv("COLUMNS");
        ASSERT_EQ(run.status, 0) << run.err;
        std::istringstream lines(run.out);
        int names = 0;
        std::string words;
        for (std::string line; std::getline(lines, line);) {
            EXPECT_LE(line.size(), static_cast<size_t>(width)) << line;
            names += !line.empty() && line[0] != ' ';
            std::istringstream split(line);
            for (std::string word; split >> word;) words += word + " ";
        }
        EXPECT_EQ(words, wideWords) << "wrapping must only move words between lines";
        EXPECT_GE(names, 8);
    }
}

}  // namespace
