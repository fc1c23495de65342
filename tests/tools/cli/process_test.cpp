// Files through chains: formats, depths and sample values that come out.
#include "cli_harness.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

namespace {

constexpr int kRate = 44100;
constexpr int kFrames = 44100;  // one second

// Every filter of the chain switched off: the integer road must hand the
// samples back unchanged.
const char* const kDisabledChain =
    "alc:enabled=off eq:enabled=off hpeq:enabled=off personalize:enabled=off surround:enabled=off";

// A file of music-like audio written in `format`, run through the disabled
// chain (and `extra` options), and both files read back.
struct RoundTrip {
    RunResult run;
    Audio in;
    Audio out;
};

RoundTrip roundTrip(const std::string& inName, int format, int channels, const std::string& outName,
                    std::vector<std::string> extra = {}) {
    ScratchDir dir;
    writeAudio(dir.file(inName), format, kRate, channels, musicLike(kFrames, channels, kRate));
    std::vector<std::string> args{"process", dir.file(inName), dir.file(outName), "--chain", kDisabledChain};
    args.insert(args.end(), extra.begin(), extra.end());
    RoundTrip trip{runQuorvex(args), readAudio(dir.file(inName)), {}};
    if (trip.run.status == 0) trip.out = readAudio(dir.file(outName));
    return trip;
}

TEST(CliRoundTrip, Disabled16BitWavComesBackBitIdentical) {
    const RoundTrip trip = roundTrip("in.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 2, "out.wav");
    ASSERT_EQ(trip.run.status, 0) << trip.run.err;
    EXPECT_EQ(trip.run.err, "");  // no terminal, no progress bar
    EXPECT_EQ(trip.out.info.format, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    EXPECT_EQ(trip.out.info.samplerate, kRate);
    EXPECT_EQ(trip.out.samples, trip.in.samples);
}

TEST(CliRoundTrip, MonoIsPlayedOnBothChannelsAndWrittenAsStereo) {
    const RoundTrip trip = roundTrip("in.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 1, "out.wav");
    ASSERT_EQ(trip.run.status, 0) << trip.run.err;
    ASSERT_EQ(trip.out.info.channels, 2);
    ASSERT_EQ(trip.out.samples.size(), 2 * trip.in.samples.size());
    for (size_t f = 0; f < trip.in.samples.size(); ++f) {
        ASSERT_EQ(trip.out.samples[2 * f], trip.in.samples[f]) << "frame " << f;
        ASSERT_EQ(trip.out.samples[2 * f + 1], trip.in.samples[f]) << "frame " << f;
    }
}

// The integer road reads 24-bit samples at 2^-23 and writes them back at
// 8388607, so each one may come back one step nearer zero, never further.
TEST(CliRoundTrip, TwentyFourBitFlacStaysFlacWithinOneStepTowardZero) {
    const RoundTrip trip = roundTrip("in.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_24, 2, "out.flac");
    ASSERT_EQ(trip.run.status, 0) << trip.run.err;
    EXPECT_EQ(trip.out.info.format, SF_FORMAT_FLAC | SF_FORMAT_PCM_24);
    ASSERT_EQ(trip.out.samples.size(), trip.in.samples.size());
    for (size_t i = 0; i < trip.in.samples.size(); ++i) {
        const long long before = trip.in.samples[i] / 256;
        const long long after = trip.out.samples[i] / 256;
        ASSERT_LE(std::llabs(before - after), 1) << "sample " << i;
        ASSERT_LE(std::llabs(after), std::llabs(before)) << "sample " << i;
    }
}

TEST(CliRoundTrip, FloatSourceTakesTheDoublePathAndStaysFloat) {
    const RoundTrip trip = roundTrip("in.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, 2, "out.wav");
    ASSERT_EQ(trip.run.status, 0) << trip.run.err;
    EXPECT_EQ(trip.out.info.format, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
    EXPECT_EQ(trip.out.values, trip.in.values);
}

TEST(CliRoundTrip, BitsAsksForAnotherOutputDepth) {
    const RoundTrip trip =
        roundTrip("in.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 2, "out.aiff", {"--bits", "24"});
    ASSERT_EQ(trip.run.status, 0) << trip.run.err;
    EXPECT_EQ(trip.out.info.format, SF_FORMAT_AIFF | SF_FORMAT_PCM_24);
    EXPECT_EQ(trip.out.samples, trip.in.samples);  // 16 bits widen to 24 exactly
}

// A writer that cannot seek back, as into a pipe, leaves a placeholder where
// the header's sizes belong; such a file is read to its end, not refused.
TEST(CliRoundTrip, FileWrittenThroughAPipeIsReadToItsEnd) {
    struct Case {
        const char* name;
        int format;
        const char* chunk;  // the audio chunk whose size is left open
        uint32_t placeholder;
        bool bigEndian;
    };
    for (const Case& c : {Case{"in.wav", SF_FORMAT_WAV, "data", 0xFFFFFFFF, false},
                          Case{"in.wav", SF_FORMAT_WAV, "data", 0x7FFFF000, false},
                          Case{"in.aiff", SF_FORMAT_AIFF, "SSND", 0x7F000008, true}}) {
        ScratchDir dir;
        writeAudio(dir.file(c.name), c.format | SF_FORMAT_PCM_16, kRate, 2, musicLike(kFrames, 2, kRate));
        std::string bytes = fileBytes(dir.file(c.name));
        const size_t size = bytes.find(c.chunk) + 4;
        for (int i = 0; i < 4; ++i)
            bytes[size + i] = static_cast<char>(c.placeholder >> (8 * (c.bigEndian ? 3 - i : i)));
        writeText(dir.file(c.name), bytes);

        const RunResult run = runQuorvex({"process", dir.file(c.name), dir.file("out.wav"), "--chain", "alc"});
        ASSERT_EQ(run.status, 0) << c.placeholder << ": " << run.err;
        EXPECT_EQ(readAudio(dir.file("out.wav")).info.frames, kFrames) << c.placeholder;
    }
}

// Fewer bits out than in: each sample goes to the nearest step of the new
// depth, never always down, which would add half a step of offset.
TEST(CliRoundTrip, FewerBitsRoundToTheNearestStep) {
    struct Case {
        int format;
        const char* bits;
    };
    for (const Case& c : {Case{SF_FORMAT_PCM_24, "16"}, Case{SF_FORMAT_FLOAT, "16"}, Case{SF_FORMAT_FLOAT, "24"}}) {
        const RoundTrip trip = roundTrip("in.wav", SF_FORMAT_WAV | c.format, 2, "out.wav", {"--bits", c.bits});
        ASSERT_EQ(trip.run.status, 0) << trip.run.err;
        ASSERT_EQ(trip.out.values.size(), trip.in.values.size());
        const double step = std::ldexp(1.0, 1 - std::atoi(c.bits));
        const double allowed = 0.5 + std::ldexp(1.0, -7);  // the integer road may move one 24-bit step
        double worst = 0.0;
        double offset = 0.0;
        for (size_t i = 0; i < trip.in.values.size(); ++i) {
            const double error = (trip.out.values[i] - trip.in.values[i]) / step;
            worst = std::fmax(worst, std::fabs(error));
            offset += error / static_cast<double>(trip.in.values.size());
        }
        EXPECT_LE(worst, allowed) << c.format << " to " << c.bits << " bits";
        EXPECT_LT(std::fabs(offset), 0.05) << c.format << " to " << c.bits << " bits";
    }
}

TEST(CliProcess, EnhancerDoublesTheRateAndWrites24Bits) {
    ScratchDir dir;
    writeAudio(dir.file("in.flac"), SF_FORMAT_FLAC | SF_FORMAT_PCM_16, kRate, 2,
               musicLike(kFrames, 2, kRate));
    for (const char* settings : {"", ":source=mp3,mode=fine", ":enhance=off"}) {
        const RunResult run = runQuorvex({"process", dir.file("in.flac"), dir.file("out.flac"), "--chain",
                                          std::string("eq:1k=+2 velmo") + settings});
        ASSERT_EQ(run.status, 0) << settings << ": " << run.err;
        const Audio out = readAudio(dir.file("out.flac"));
        EXPECT_EQ(out.info.format, SF_FORMAT_FLAC | SF_FORMAT_PCM_24) << settings;
        EXPECT_EQ(out.info.samplerate, 2 * kRate) << settings;
        EXPECT_EQ(out.info.frames, 2 * kFrames) << settings;
    }
}

// A tone that fades in and out over 20 ms, so that band-limiting filters see
// no edge: after any rate change it is the same tone at the new rate.
std::vector<double> fadedTone(int frames, int rate) {
    const double pi = std::acos(-1.0);
    const double fade = 0.02 * rate;
    std::vector<double> stereo(2 * static_cast<size_t>(frames));
    for (int f = 0; f < frames; ++f) {
        const double edge = std::fmin(1.0, std::fmin(f, frames - f) / fade);
        const double x = 0.5 * std::pow(std::sin(pi / 2 * edge), 2) * std::sin(2 * pi * 300.0 * f / rate);
        stereo[2 * f] = stereo[2 * f + 1] = x;
    }
    return stereo;
}

// The converters' delay is taken off the start and made up at the end: the
// output spans the input exactly and lines up with it, ends included.
TEST(CliProcess, RateConvertersLineUpWithTheirInputFromEndToEnd) {
    ScratchDir dir;
    writeAudio(dir.file("in.wav"), SF_FORMAT_WAV | SF_FORMAT_FLOAT, kRate, 2, fadedTone(kFrames / 2, kRate));
    struct Case {
        const char* chain;
        int rate;
        double tolerance;  // one sample off is ten times more
    };
    for (const Case& c : {Case{"resample:44100", kRate, 1e-5}, Case{"resample:88200", 2 * kRate, 1e-5},
                          Case{"resample:22050", kRate / 2, 1e-5},
                          Case{"velmo:enhance=off decimate", kRate, 6e-3}}) {
        const RunResult run = runQuorvex({"process", dir.file("in.wav"), dir.file("out.wav"), "--chain", c.chain});
        ASSERT_EQ(run.status, 0) << c.chain << ": " << run.err;
        const Audio out = readAudio(dir.file("out.wav"));
        EXPECT_EQ(out.info.samplerate, c.rate) << c.chain;
        const std::vector<double> expected = fadedTone(kFrames / 2 * c.rate / kRate, c.rate);
        ASSERT_EQ(out.values.size(), expected.size()) << c.chain;
        double worst = 0.0;
        for (size_t i = 0; i < expected.size(); ++i) worst = std::fmax(worst, std::fabs(out.values[i] - expected[i]));
        EXPECT_LT(worst, c.tolerance) << c.chain;
    }
}

// Files shorter than the tool's block, on the integer road through chains
// that rise above their output rate on the way.
TEST(CliProcess, FilesShorterThanOneBlockRunThroughRisingChains) {
    ScratchDir dir;
    for (const int frames : {1, 2100, 3000, 4095}) {
        writeAudio(dir.file("in.wav"), SF_FORMAT_WAV | SF_FORMAT_PCM_16, kRate, 2, musicLike(frames, 2, kRate));
        for (const char* chain : {"velmo decimate", "velmo resample:48000", "velmo:enhance=off decimate"}) {
            const RunResult run = runQuorvex({"process", dir.file("in.wav"), dir.file("out.wav"), "--chain", chain});
            ASSERT_EQ(run.status, 0) << frames << " frames, " << chain << ": " << run.err;
            const Audio out = readAudio(dir.file("out.wav"));
            EXPECT_EQ(out.info.frames, static_cast<long long>(frames) * out.info.samplerate / kRate)
                << frames << " frames, " << chain;
        }
    }
}

// Integers cannot hold overs; the 24-bit conversion would wrap them to the
// opposite sign, so they are clipped and the user is told.
TEST(CliProcess, OversOnTheWayToIntegersAreClippedNotWrapped) {
    ScratchDir dir;
    writeAudio(dir.file("in.wav"), SF_FORMAT_WAV | SF_FORMAT_PCM_24, kRate, 2, fadedTone(kFrames / 4, kRate));
    const RunResult run =
        runQuorvex({"process", dir.file("in.wav"), dir.file("out.wav"), "--chain", "eq:400=+12"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_NE(run.err.find("samples over full scale"), std::string::npos) << run.err;

    const Audio in = readAudio(dir.file("in.wav"));
    const Audio out = readAudio(dir.file("out.wav"));
    ASSERT_EQ(out.values.size(), in.values.size());
    for (size_t i = 0; i < in.values.size(); ++i) {
        if (std::fabs(in.values[i]) > 0.4) {
            ASSERT_GT(in.values[i] * out.values[i], 0.0) << "sample " << i;
        }
    }
}

TEST(CliProcess, ProgressShowsOnATerminalUnlessQuiet) {
    ScratchDir dir;
    writeAudio(dir.file("in.wav"), SF_FORMAT_WAV | SF_FORMAT_PCM_16, kRate, 2, musicLike(kFrames, 2, kRate));
    RunOptions terminal;
    terminal.stderrIsTerminal = true;
    const std::vector<std::string> args{"process", dir.file("in.wav"), dir.file("out.wav"), "--chain", "alc"};
    const RunResult shown = runQuorvex(args, terminal);
    ASSERT_EQ(shown.status, 0);
    EXPECT_NE(shown.err.find("100%"), std::string::npos) << shown.err;
    EXPECT_NE(shown.err.find("x realtime"), std::string::npos) << shown.err;

    std::vector<std::string> quiet = args;
    quiet.push_back("--quiet");
    const RunResult hidden = runQuorvex(quiet, terminal);
    ASSERT_EQ(hidden.status, 0);
    EXPECT_EQ(hidden.err, "");
}

// A run that fails once the bar is drawn ends the bar's line first, so the
// error stands on a line of its own.
TEST(CliProcess, ErrorAfterTheProgressBarStartsOnItsOwnLine) {
    ScratchDir dir;
    const int seconds = 40;  // long enough for the bar to be drawn before the damage is met
    writeAudio(dir.file("in.flac"), SF_FORMAT_FLAC | SF_FORMAT_PCM_16, kRate, 2,
               musicLike(seconds * kRate, 2, kRate));
    const std::string whole = fileBytes(dir.file("in.flac"));
    writeText(dir.file("in.flac"), whole.substr(0, whole.size() * 9 / 10));
    RunOptions terminal;
    terminal.stderrIsTerminal = true;
    const RunResult run = runQuorvex(
        {"process", dir.file("in.flac"), dir.file("out.wav"), "--chain", "velmo resample:96000"}, terminal);
    ASSERT_EQ(run.status, 1) << run.err;
    ASSERT_NE(run.err.find("%"), std::string::npos) << "no progress bar was drawn: " << run.err;
    const size_t message = run.err.find("quorvex: ");
    ASSERT_TRUE(message != std::string::npos && message > 0) << run.err;
    EXPECT_EQ(run.err[message - 1], '\n') << run.err;
}

// The integer adapter's buffers hold twice the output; a chain that goes
// higher in between still runs.
TEST(CliProcess, ChainRisingAboveTwiceItsOutputRateRunsOnIntegerSources) {
    ScratchDir dir;
    writeAudio(dir.file("in.wav"), SF_FORMAT_WAV | SF_FORMAT_PCM_16, 48000, 2, musicLike(48000, 2, 48000));
    const RunResult run = runQuorvex(
        {"process", dir.file("in.wav"), dir.file("out.wav"), "--chain", "velmo resample:44100"});
    ASSERT_EQ(run.status, 0) << run.err;
    const Audio out = readAudio(dir.file("out.wav"));
    EXPECT_EQ(out.info.format, SF_FORMAT_WAV | SF_FORMAT_PCM_24);
    EXPECT_EQ(out.info.samplerate, 44100);
    EXPECT_EQ(out.info.frames, 44100);
}

// A float source may go over full scale; the level control brings it back.
TEST(CliProcess, LevelControlKeepsAnOverloadedSourceWithinFullScale) {
    ScratchDir dir;
    std::vector<double> loud = musicLike(kFrames, 2, kRate);
    for (double& x : loud) x *= 4.0;
    writeAudio(dir.file("in.wav"), SF_FORMAT_WAV | SF_FORMAT_FLOAT, kRate, 2, loud);
    for (const char* mode : {"linked", "sample"}) {
        const RunResult run = runQuorvex({"process", dir.file("in.wav"), dir.file("out.wav"),
                                          "--chain", std::string("alc:mode=") + mode});
        ASSERT_EQ(run.status, 0) << run.err;
        double peak = 0.0;
        for (double x : readAudio(dir.file("out.wav")).values) peak = std::fmax(peak, std::fabs(x));
        EXPECT_LE(peak, 1.0) << mode;
        EXPECT_GT(peak, 0.5) << mode;
    }
}

double rmsDecibels(const std::vector<double>& samples, size_t from) {
    double sum = 0.0;
    for (size_t i = from; i < samples.size(); ++i) sum += samples[i] * samples[i];
    return 10.0 * std::log10(sum / static_cast<double>(samples.size() - from));
}

// A 1 kHz tone through the 1 kHz band rises and falls by the decibels asked.
TEST(CliProcess, EqualizerBandMovesItsToneByTheDecibelsAsked) {
    ScratchDir dir;
    std::vector<double> tone(2 * kFrames);
    for (size_t i = 0; i < tone.size(); ++i)
        tone[i] = 0.1 * std::sin(2.0 * std::acos(-1.0) * 1000.0 * static_cast<double>(i / 2) / kRate);
    writeAudio(dir.file("in.wav"), SF_FORMAT_WAV | SF_FORMAT_FLOAT, kRate, 2, tone);
    const size_t settled = tone.size() / 2;
    const double before = rmsDecibels(tone, settled);
    for (int decibels : {-12, -5, 6, 12}) {
        const RunResult run = runQuorvex({"process", dir.file("in.wav"), dir.file("out.wav"), "--chain",
                                          "eq:1k=" + std::to_string(decibels) + "dB"});
        ASSERT_EQ(run.status, 0) << run.err;
        EXPECT_NEAR(rmsDecibels(readAudio(dir.file("out.wav")).values, settled) - before, decibels, 0.1);
    }
}

TEST(CliProcess, HoldRepeatsEveryFrameAtTwiceTheRateAndWidensTo24Bits) {
    ScratchDir dir;
    writeAudio(dir.file("in.wav"), SF_FORMAT_WAV | SF_FORMAT_PCM_16, kRate, 2,
               musicLike(kFrames, 2, kRate));
    const RunResult run =
        runQuorvex({"process", dir.file("in.wav"), dir.file("out.wav"), "--chain", "hold:bits=24"});
    ASSERT_EQ(run.status, 0) << run.err;

    const Audio in = readAudio(dir.file("in.wav"));
    const Audio out = readAudio(dir.file("out.wav"));
    EXPECT_EQ(out.info.format, SF_FORMAT_WAV | SF_FORMAT_PCM_24);
    EXPECT_EQ(out.info.samplerate, 2 * kRate);
    ASSERT_EQ(out.samples.size(), 2 * in.samples.size());
    for (size_t f = 0; f < out.samples.size() / 2; ++f)
        for (size_t c = 0; c < 2; ++c)
            ASSERT_EQ(out.samples[2 * f + c], in.samples[2 * (f / 2) + c]) << "frame " << f;
}

// Sections come from a text file as b0 b1 b2 a0 a1 a2, scaled by a0.
TEST(CliProcess, SectionFilesShapeTheHighRateFilters) {
    ScratchDir dir;
    const int rate = 96000;
    writeAudio(dir.file("in.wav"), SF_FORMAT_WAV | SF_FORMAT_FLOAT, rate, 2, musicLike(rate / 4, 2, rate));
    writeText(dir.file("hpeq.txt"), "# headphones\n1 0 0 2 0 0\n\n");
    writeText(dir.file("pers.txt"), "4, 0, 0, 2, 0, 0   # left: double\n1 0 0 1 0 0\n");
    const RunResult run = runQuorvex({"process", dir.file("in.wav"), dir.file("out.wav"), "--chain",
                                      "hpeq:" + dir.file("hpeq.txt") + " personalize:" + dir.file("pers.txt")});
    ASSERT_EQ(run.status, 0) << run.err;

    const Audio in = readAudio(dir.file("in.wav"));
    const Audio out = readAudio(dir.file("out.wav"));
    ASSERT_EQ(out.values.size(), in.values.size());
    for (size_t f = 0; f < in.values.size() / 2; ++f) {
        ASSERT_FLOAT_EQ(out.values[2 * f], in.values[2 * f]) << "frame " << f;  // halved, then doubled
        ASSERT_FLOAT_EQ(out.values[2 * f + 1], in.values[2 * f + 1] / 2) << "frame " << f;
    }
}

}  // namespace
