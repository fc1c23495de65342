// Standard input and output: pipelines through a shell give the same samples
// as the same job from file to file.
#include "cli_harness.h"

namespace {

// Runs `script` under /bin/sh in `dir`, with $Q the built quorvex.
RunResult runShell(const ScratchDir& dir, const std::string& script) {
    return runProgram("/bin/sh",
                      {"-c", "cd " + dir.file("") + " && Q=" QUORVEX_CLI_PATH " && " + script});
}

// The samples to the end of the file, however long its header says it is: a
// FLAC stream cannot carry its length.
std::vector<double> readToEnd(const std::string& path) {
    SF_INFO info{};
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
    EXPECT_NE(file, nullptr) << path << ": " << sf_strerror(nullptr);
    if (file == nullptr) return {};
    EXPECT_EQ(info.samplerate, kRate);
    std::vector<double> samples;
    std::vector<double> block(2 * 4096);
    while (const sf_count_t got = sf_readf_double(file, block.data(), 4096))
        samples.insert(samples.end(), block.begin(), block.begin() + 2 * got);
    sf_close(file);
    return samples;
}

bool haveSox() { return std::system("command -v sox >/dev/null 2>&1") == 0; }

struct Pipeline {
    const char* name;
    int format;  // of in.*, written beforehand
    const char* script;
    const char* result;  // the file the pipeline leaves
    bool needsSox = false;
};

constexpr const char* kChain = "eq:1k=+3";

// Each pipeline runs eq:1k=+3 somewhere between in.* and its result.
const Pipeline kPipelines[] = {
    {"WavInFlacOutThroughPipes", kWav16,
     "cat in.wav | $Q process - -t flac - -c eq:1k=+3 | cat > out.flac", "out.flac"},
    {"FlacInWavOut", kFlac24, "cat in.flac | $Q process - -t wav - -c eq:1k=+3 | cat > out.wav",
     "out.wav"},
    {"AiffFromDevStdin", kAiff16, "cat in.aiff | $Q process /dev/stdin out.wav -c eq:1k=+3",
     "out.wav"},
    {"AiffIntoARedirectedFile", kWav16, "$Q process in.wav -t aiff - -c eq:1k=+3 > out.aiff",
     "out.aiff"},
    {"RawIn", kWav16,
     "tail -c +45 in.wav | $Q process -t raw --rate 44100 --channels 2 - -t wav - -c eq:1k=+3 "
     "| cat > out.wav",
     "out.wav"},
    {"RawOut", kWav16,
     "cat in.wav | $Q process - -t raw - -c eq:1k=+3 | $Q process -t raw --rate=44100 "
     "--channels=2 - out.wav -c eq:enabled=off",
     "out.wav"},
    {"SoxOnBothSides", kWav16,
     "sox in.wav -t wav - | $Q process - -t flac - -c eq:1k=+3 | sox -t flac - out.wav", "out.wav",
     true},
    {"SoxReadsOurWavStream", kWav16,
     "cat in.wav | $Q process - -t wav - -c eq:1k=+3 | sox -t wav - out.wav", "out.wav", true},
};

TEST(CliPipes, PipelinesGiveTheSamplesOfTheFileToFileJob) {
    const bool sox = haveSox();
    for (const Pipeline& p : kPipelines) {
        SCOPED_TRACE(p.name);
        if (p.needsSox && !sox) continue;
        ScratchDir dir;
        const std::string in = (p.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_FLAC   ? "in.flac"
                               : (p.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_AIFF ? "in.aiff"
                                                                                   : "in.wav";
        writeAudio(dir.file(in), p.format, 2, musicLike(kRate / 2, 2));
        const RunResult direct =
            runQuorvex({"process", dir.file(in), dir.file("ref.wav"), "--chain", kChain});
        ASSERT_EQ(direct.status, 0) << direct.err;

        const RunResult run = runShell(dir, p.script);
        ASSERT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(run.err, "");  // no warning from sox or from us
        const std::vector<double> expected = readToEnd(dir.file("ref.wav"));
        const std::vector<double> got = readToEnd(dir.file(p.result));
        ASSERT_EQ(got.size(), expected.size());
        for (size_t i = 0; i < expected.size(); ++i)
            ASSERT_NEAR(got[i], expected[i], 1e-9) << "sample " << i;
    }
}

// Refusals, from streams that cannot work to runs the tool cannot do: one line
// naming the fix, no output, and a failing status where the shell shows it.
TEST(CliPipes, WhatCannotWorkIsRefusedWithTheFix) {
    const std::pair<const char*, const char*> bad[] = {
        {"cat in.wav | $Q process - - -c alc | cat", "name its type with -t wav"},
        {"cat in.wav | $Q process - -t aiff - -c alc | cat", "write -t wav or -t flac"},
        {"cat in.wav | $Q process - out.wav -t wav -c alc", "names the type of the file after it"},
        {"cat in.wav | $Q process -t ogg - out.wav -c alc", "choose wav, flac, aiff or raw"},
        {"cat in.wav | $Q process -t raw --rate 44100 - out.wav -c alc",
         "needs --rate and --channels"},
        {"$Q process in.wav out.wav --rate 48000 -c alc", "resample:RATE changes the rate"},
        {"cat in.wav | $Q process -t flac - out.wav -c alc", "is not a flac file"},
        {"head -c 50000 in.wav | $Q process - out.wav -c alc", "truncated"},
        {"$Q process in4.wav out.wav -c eq:1k=+3", "has 4 channels"},
        {"$Q process in.wav out.wav -c surround --norm=+3",
         "--norm=+3: give the peak level in dBFS"},
        {"$Q process in.wav out.wav -c surround --norm --norm", "--norm is given twice"},
        {"$Q process in.wav out.wav -c hold --norm", "--norm: hold runs alone in its chain"},
        {"$Q process in.wav out.wav -c 'alc alc alc alc alc alc alc alc alc alc' --norm",
         "the chain already holds the most filters"},
    };
    ScratchDir dir;
    writeAudio(dir.file("in.wav"), kWav16, 2, musicLike(kRate, 2));
    writeAudio(dir.file("in4.wav"), kWav16, 4, musicLike(kRate / 10, 4));
    for (const auto& [script, message] : bad) {
        const RunResult run = runShell(dir, script);
        const std::string s = script;
        if (s.compare(s.size() - 5, 5, "| cat") != 0) {
            EXPECT_NE(run.status, 0) << s;
        }
        EXPECT_NE(run.err.find(message), std::string::npos) << s << ": " << run.err;
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << s << run.err;
        EXPECT_NE(access(dir.file("out.wav").c_str(), F_OK), 0) << s;
    }
}

// Standard input is kept in a temporary file, which --norm's measuring pass
// and the real run both read.
TEST(CliPipes, NormReadsAPipeTwice) {
    ScratchDir dir;
    writeAudio(dir.file("in.wav"), kWav16, 2, musicLike(kRate / 2, 2));
    const RunResult run = runShell(dir, "cat in.wav | $Q process - out.wav -c eq:1k=+3 --norm=-2");
    ASSERT_EQ(run.status, 0) << run.err;
    const Audio out = readAudio(dir.file("out.wav"));
    EXPECT_EQ(out.info.frames, kRate / 2);
    const double peak =
        *std::max_element(out.values.begin(), out.values.end(),
                          [](double a, double b) { return std::fabs(a) < std::fabs(b); });
    EXPECT_NEAR(20 * std::log10(std::fabs(peak)), -2.0, 0.001);
}

// Float WAV carries the 18-byte format chunk readers expect of every format
// but integer PCM, whether written to a file, a pipe or a redirected standard
// output, and the audio is unchanged by it.
TEST(CliPipes, FloatWavHasTheFormatChunkReadersExpect) {
    ScratchDir dir;
    writeAudio(dir.file("in.wav"), kWav16, 2, musicLike(kRate / 10, 2));
    const char* const scripts[] = {
        "$Q process in.wav out.wav -c eq:1k=+3 --bits float",
        "$Q process in.wav -t wav - -c eq:1k=+3 --bits float | cat > out.wav",
        "$Q process in.wav -t wav - -c eq:1k=+3 --bits float > out.wav",
    };
    std::vector<double> first;
    for (const char* script : scripts) {
        const RunResult run = runShell(dir, script);
        ASSERT_EQ(run.status, 0) << script << ": " << run.err;
        const std::string bytes = fileBytes(dir.file("out.wav"));
        ASSERT_GT(bytes.size(), 40u);
        EXPECT_EQ(bytes.substr(12, 8), std::string("fmt \x12\0\0\0", 8)) << script;
        EXPECT_EQ(bytes.substr(20, 2), std::string("\x03\0", 2)) << script;  // float
        EXPECT_EQ(bytes.substr(36, 2), std::string("\0\0", 2)) << script;    // no extension
        const std::vector<double> samples = readToEnd(dir.file("out.wav"));
        if (first.empty()) first = samples;
        EXPECT_EQ(samples, first) << script;
        if (haveSox()) {
            const RunResult sox = runShell(dir, "sox out.wav -n stat");
            EXPECT_EQ(sox.err.find("WARN"), std::string::npos) << script << ": " << sox.err;
        }
    }
}

}  // namespace
