// Files through chains: formats, depths, rates, lengths and the samples that
// come out.
#include "cli_harness.h"

namespace {

std::string named(const char* stem, int format) {
    const int type = format & SF_FORMAT_TYPEMASK;
    return stem + std::string(type == SF_FORMAT_FLAC   ? ".flac"
                              : type == SF_FORMAT_AIFF ? ".aiff"
                                                       : ".wav");
}

std::vector<std::string> process(const ScratchDir& dir, const std::string& in,
                                 const std::string& out, const std::string& chain) {
    return {"process", dir.file(in), dir.file(out), "--chain", chain};
}

struct RoundTrip {
    int format;
    int channels;      // as many come out
    const char* bits;  // --bits, if not empty
    int outFormat;
    double steps;  // the most a sample may move, in steps of the output depth (2^-23 for float); 0:
                   // none
    bool towardZero = false;
    uint32_t placeholder =
        0;  // in place of the audio chunk's size, as a writer into a pipe leaves it
    bool plainRounding = false;  // --no-dither
};

// With every filter switched off the samples come back as they went in. The
// integer road reads 24-bit samples at 2^-23 and writes them at 8388607, so
// each may come back one step nearer zero, never further. Fewer bits out than
// in go to the nearest step (dither off), never always down, which would add
// half a step of offset. A file with a placeholder size is read to its end, not refused.
TEST(CliProcess, DisabledChainHandsTheSamplesBack) {
    const double nearest = 0.5 + 1.0 / 128;  // the integer road may move one 24-bit step
    const RoundTrip trips[] = {{kWav16, 2, "", kWav16, 0},
                               {kFlac24, 2, "", kFlac24, 1, true},
                               {kWavFloat, 2, "", kWavFloat, 0},
                               {kWav16, 2, "24", kAiff24, 0},
                               {kWav24, 2, "16", kWav16, nearest, false, 0, true},
                               {kWavFloat, 2, "16", kWav16, nearest, false, 0, true},
                               {kWav16, 2, "", kWav16, 0, false, 0xFFFFFFFF},
                               {kWav16, 2, "", kWav16, 0, false, 0x7FFFF000},
                               {kAiff16, 2, "", kAiff16, 0, false, 0x7F000008}};
    for (const RoundTrip& c : trips) {
        ScratchDir dir;
        const std::string source = named("in", c.format), target = named("out", c.outFormat);
        SCOPED_TRACE(source + " to " + target + " --bits " + c.bits + ", " +
                     std::to_string(c.channels) + " channels, size " +
                     std::to_string(c.placeholder));
        writeAudio(dir.file(source), c.format, c.channels, musicLike(kRate, c.channels));
        const Audio in = readAudio(dir.file(source));
        if (c.placeholder != 0) {
            const bool aiff = (c.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_AIFF;  // big-endian
            std::string bytes = fileBytes(dir.file(source));
            const size_t size = bytes.find(aiff ? "SSND" : "data") + 4;
            for (int i = 0; i < 4; ++i)
                bytes[size + i] = static_cast<char>(c.placeholder >> (aiff ? 24 - 8 * i : 8 * i));
            writeText(dir.file(source), bytes);
        }
        std::vector<std::string> args = process(dir, source, target,
                                                "alc:enabled=off eq:enabled=off hpeq:enabled=off "
                                                "personalize:enabled=off surround:enabled=off");
        if (*c.bits) args.insert(args.end(), {"--bits", c.bits});
        if (c.plainRounding) args.push_back("--no-dither");
        const RunResult run = runQuorvex(args);
        ASSERT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(run.err, "");  // no terminal, no progress bar
        const Audio out = readAudio(dir.file(target));
        EXPECT_EQ(out.info.format, c.outFormat);
        EXPECT_EQ(out.info.samplerate, kRate);
        ASSERT_EQ(out.info.channels, c.channels);
        ASSERT_EQ(out.values.size(), in.values.size());
        const double step =
            std::ldexp(1.0, c.outFormat == kWav16 || c.outFormat == kAiff16 ? -15 : -23);
        double worst = 0.0, offset = 0.0;
        for (size_t i = 0; i < out.values.size(); ++i) {
            const double before = in.values[i];
            worst = std::fmax(worst, std::fabs(out.values[i] - before) / step);
            offset += (out.values[i] - before) / step / static_cast<double>(out.values.size());
            ASSERT_TRUE(!c.towardZero || std::fabs(out.values[i]) <= std::fabs(before))
                << "sample " << i;
        }
        EXPECT_LE(worst, c.steps);
        EXPECT_LT(std::fabs(offset), 0.05);
    }
}

// Integer sources through chains that rise above their output rate on the
// way: files shorter than the tool's block (2048 to 4095 frames at 44.1 kHz)
// must not leave the integer adapter too small for the blocks that flush the
// tail, and a chain rising above twice its output rate, more than the
// adapter holds, must run too.
TEST(CliProcess, IntegerSourcesOfAnyLengthRunThroughRisingChains) {
    ScratchDir dir;
    for (const int rate : {44100, 48000})
        for (const int frames : {1, 4095, rate})
            for (const char* chain : {"velmo decimate", "velmo resample:44100"}) {
                SCOPED_TRACE(std::to_string(frames) + " frames at " + std::to_string(rate) +
                             " Hz, " + chain);
                writeAudio(dir.file("in.wav"), kWav16, 2, musicLike(frames, 2, rate), rate);
                const RunResult run = runQuorvex(process(dir, "in.wav", "out.wav", chain));
                ASSERT_EQ(run.status, 0) << run.err;
                const Audio out = readAudio(dir.file("out.wav"));
                EXPECT_EQ(out.info.format, kWav24);
                EXPECT_EQ(out.info.frames,
                          frames * static_cast<long long>(out.info.samplerate) / rate);
            }
}

// Streaming in fixed blocks: a file twenty times longer needs no more memory.
TEST(CliProcess, PeakMemoryDoesNotGrowWithTheFileLength) {
    ScratchDir dir;
    writeAudio(dir.file("short.wav"), kWav16, 2, musicLike(kRate, 2), kRate, 2);
    writeAudio(dir.file("long.wav"), kWav16, 2, musicLike(kRate, 2), kRate, 40);
    const char* chain = "eq:1k=+2 velmo:source=mp3 alc";  // the integer adapter and a composition
    const RunResult small = runQuorvex(process(dir, "short.wav", "short-out.wav", chain));
    const RunResult large = runQuorvex(process(dir, "long.wav", "long-out.wav", chain));
    ASSERT_EQ(small.status, 0) << small.err;
    ASSERT_EQ(large.status, 0) << large.err;
    SF_INFO written{};
    sf_close(sf_open(dir.file("long-out.wav").c_str(), SFM_READ, &written));
    EXPECT_EQ(written.frames, 2 * 40LL * kRate);
    EXPECT_LT(large.maxResidentKb - small.maxResidentKb, 4096)
        << "short: " << small.maxResidentKb << " kB, long: " << large.maxResidentKb << " kB";
}

// A tone that fades in and out over 20 ms, so that band-limiting filters see
// no edge: after any rate change it is the same tone at the new rate.
std::vector<double> fadedTone(int frames, int rate) {
    const double pi = std::acos(-1.0);
    std::vector<double> stereo(2 * static_cast<size_t>(frames));
    for (int f = 0; f < frames; ++f) {
        const double edge = std::fmin(1.0, std::fmin(f, frames - f) / (0.02 * rate));
        const double envelope = std::pow(std::sin(pi / 2 * edge), 2);
        stereo[2 * f] = stereo[2 * f + 1] = 0.5 * envelope * std::sin(2 * pi * 300.0 * f / rate);
    }
    return stereo;
}

// The converters' delay is taken off the start and made up at the end: the
// output spans the input exactly and lines up with it, ends included.
TEST(CliProcess, RateConvertersLineUpWithTheirInputFromEndToEnd) {
    ScratchDir dir;
    writeAudio(dir.file("in.wav"), kWavFloat, 2, fadedTone(kRate / 2, kRate));
    // The chain, the rate it writes and the largest difference allowed; one sample off is ten times
    // more.
    const std::tuple<const char*, int, double> cases[] = {
        {"resample:44100", kRate, 1e-5},
        {"resample:22050", kRate / 2, 1e-5},
        {"velmo:enhance=off decimate", kRate, 6e-3}};
    for (const auto& [chain, rate, tolerance] : cases) {
        const RunResult run = runQuorvex(process(dir, "in.wav", "out.wav", chain));
        ASSERT_EQ(run.status, 0) << chain << ": " << run.err;
        const Audio out = readAudio(dir.file("out.wav"));
        const std::vector<double> expected = fadedTone(rate / 2, rate);
        ASSERT_EQ(out.values.size(), expected.size()) << chain;
        for (size_t i = 0; i < expected.size(); ++i)
            ASSERT_NEAR(out.values[i], expected[i], tolerance) << chain << ", sample " << i;
    }
}

// Integers cannot hold overs; the 24-bit conversion would wrap them to the
// opposite sign, so they are clipped and the user is told.
TEST(CliProcess, OversOnTheWayToIntegersAreClippedNotWrapped) {
    ScratchDir dir;
    writeAudio(dir.file("in.wav"), kWav24, 2, fadedTone(kRate / 4, kRate));
    const RunResult run = runQuorvex(process(dir, "in.wav", "out.wav", "eq:400=+12"));
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_NE(run.err.find("samples over full scale"), std::string::npos) << run.err;
    const Audio in = readAudio(dir.file("in.wav"));
    const Audio out = readAudio(dir.file("out.wav"));
    ASSERT_EQ(out.values.size(), in.values.size());
    for (size_t i = 0; i < in.values.size(); ++i)
        ASSERT_TRUE(std::fabs(in.values[i]) < 0.4 || in.values[i] * out.values[i] > 0.0)
            << "sample " << i;
}

// Every filter `list` names builds with its defaults and runs, on CD audio
// or, for those that act only at high rates, on 96 kHz audio.
TEST(CliProcess, EveryListedFilterRunsWithItsDefaults) {
    ScratchDir dir;
    writeAudio(dir.file("cd.wav"), kWav16, 2, musicLike(kRate / 10, 2));
    writeAudio(dir.file("high.wav"), kWav16, 2, musicLike(9600, 2, 96000), 96000);
    std::istringstream lines(runQuorvex({"list"}).out);
    int listed = 0;
    for (std::string line; std::getline(lines, line);) {
        if (line.empty() || line[0] == ' ') continue;
        const std::string name = line.substr(0, line.find(':'));
        ++listed;
        const RunResult cd = runQuorvex(process(dir, "cd.wav", "out.wav", name));
        const RunResult high =
            cd.status == 0 ? cd : runQuorvex(process(dir, "high.wav", "out.wav", name));
        EXPECT_EQ(high.status, 0) << name << ": " << cd.err << high.err;
    }
    EXPECT_GE(listed, 2);
}

// A depth asked for with --bits carries the chain's result at that depth:
// float output at full scale 1.0 (not the integers' scale), and more bits
// than the source holds the chain's precision instead of the source's steps
// padded with zeros. The output's missing directories are made.
TEST(CliProcess, BitsOptionKeepsScaleAndPrecision) {
    ScratchDir dir;
    struct Case {
        int format;
        const char* bits;
        int sourceBits;
    };
    for (const Case c :
         {Case{kWav16, "float", 16}, Case{kWav16, "24", 16}, Case{kFlac24, "32", 24}}) {
        const std::string in = named("in", c.format);
        writeAudio(dir.file(in), c.format, 2, musicLike(kRate / 4, 2));
        std::vector<std::string> args = process(dir, in, "new/deeper/out.wav", "eq:1k=-6");
        args.insert(args.end(), {"--bits", c.bits});
        const RunResult run = runQuorvex(args);
        ASSERT_EQ(run.status, 0) << c.bits << ": " << run.err;
        const Audio out = readAudio(dir.file("new/deeper/out.wav"));
        EXPECT_EQ(out.info.frames, kRate / 4);
        double peak = 0.0;
        bool finerThanSource = false;
        for (double v : out.values) {
            peak = std::max(peak, std::fabs(v));
            const double steps = std::ldexp(v, c.sourceBits - 1);
            finerThanSource = finerThanSource || steps != std::round(steps);
        }
        SCOPED_TRACE(in + " --bits " + c.bits);
        EXPECT_GT(peak, 0.1);
        EXPECT_LT(peak, 1.0);
        EXPECT_TRUE(finerThanSource);
    }
}

}  // namespace
