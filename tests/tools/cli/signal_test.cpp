// What the tool does to the signal itself: filters it refuses to run and
// the conditioning on the way to the file.
#include "cli_harness.h"

namespace {

// Power of the left channel at `frequency`, by a Hann-windowed DFT over the
// middle of the file, where no filter is settling.
double power(const Audio& audio, double frequency) {
    const double pi = std::acos(-1.0);
    const size_t frames = audio.values.size() / audio.info.channels;
    const size_t length = frames / 2, start = frames / 4;
    double re = 0.0, im = 0.0;
    for (size_t n = 0; n < length; ++n) {
        const double window = 0.5 - 0.5 * std::cos(2 * pi * n / length);
        const double phase = 2 * pi * frequency * n / audio.info.samplerate;
        const double x = window * audio.values[(start + n) * audio.info.channels];
        re += x * std::cos(phase);
        im -= x * std::sin(phase);
    }
    return (re * re + im * im) / (static_cast<double>(length) * length);
}

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

// The exact converter would pass the images of a rate raised past 25/22 of
// the input at full level; the tool refuses it, and both routes it points to
// (the clean engine, or doubling first) keep the band above the input's half
// rate empty.
TEST(CliSignal, RaisingTheRateLeavesNoImages) {
    ScratchDir dir;
    const double pi = std::acos(-1.0);
    std::vector<double> tone(2 * kRate);
    for (size_t i = 0; i < tone.size(); ++i)
        tone[i] = 0.5 * std::sin(2 * pi * 10000.0 * (i / 2) / kRate);
    writeAudio(dir.file("in.wav"), kWavFloat, 2, tone);
    const RunResult refused = runQuorvex({"process", dir.file("in.wav"), dir.file("up.wav"),
                                          "--chain", "resample:96000,engine=exact"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_NE(refused.err.find("would leave images of the input"), std::string::npos)
        << refused.err;
    EXPECT_NE(refused.err.find("velmo:enhance=off"), std::string::npos) << refused.err;

    for (const char* chain : {"resample:96000", "velmo:enhance=off resample:96000,engine=exact"}) {
        const RunResult run =
            runQuorvex({"process", dir.file("in.wav"), dir.file("up.wav"), "--chain", chain});
        ASSERT_EQ(run.status, 0) << run.err;
        const Audio out = readAudio(dir.file("up.wav"));
        ASSERT_EQ(out.info.samplerate, 96000);
        // The tone and its first image, 44.1 - 10 = 34.1 kHz, by their DFT bins.
        const double tonePower = power(out, 10000.0), imagePower = power(out, 34100.0);
        EXPECT_GT(10 * std::log10(tonePower / imagePower), 60.0) << chain;
    }
}

// Power at `frequency` against the mean power of bins 30 to 210 Hz either
// side, off the 100 Hz grid on which an undithered 1 kHz tone's rounding
// error repeats; in dB.
double aboveFloor(const Audio& audio, double frequency) {
    double floor = 0.0;
    int bins = 0;
    for (double offset = 30.0; offset <= 210.0; offset += 20.0, bins += 2)
        floor += power(audio, frequency - offset) + power(audio, frequency + offset);
    return 10 * std::log10(power(audio, frequency) * bins / floor);
}

// A -90 dBFS tone taken from 24 to 16 bits is about one step high: rounded
// plainly, its error is distortion at the harmonics; dithered, a flat floor
// with no harmonic above it. The dither repeats from run to run.
TEST(CliSignal, FewerBitsOutThanInAreDitheredByDefault) {
    ScratchDir dir;
    const double pi = std::acos(-1.0), amplitude = std::pow(10.0, -90.0 / 20);
    std::vector<double> tone(4 * kRate);
    for (size_t i = 0; i < tone.size(); ++i)
        tone[i] = amplitude * std::sin(2 * pi * 1000.0 * (i / 2) / kRate);
    writeAudio(dir.file("in.wav"), kWav24, 2, tone);
    const struct {
        const char* option;
        bool harmonics;
    } runs[] = {{"--quiet", false}, {"--no-dither", true}};
    for (const auto& r : runs) {
        const RunResult run = runQuorvex({"process", dir.file("in.wav"), dir.file("out.wav"),
                                          "--chain", "eq:enabled=off", "--bits", "16", r.option});
        ASSERT_EQ(run.status, 0) << run.err;
        const Audio out = readAudio(dir.file("out.wav"));
        ASSERT_EQ(out.info.format, kWav16);
        EXPECT_GT(aboveFloor(out, 1000.0), 20.0) << r.option;  // the tone itself stays
        for (const double harmonic : {3000.0, 5000.0}) {
            if (r.harmonics)
                EXPECT_GT(aboveFloor(out, harmonic), 20.0) << r.option << ", " << harmonic;
            else
                EXPECT_LT(aboveFloor(out, harmonic), 8.0) << r.option << ", " << harmonic;
        }
    }

    const std::string plain = fileBytes(dir.file("out.wav"));
    runQuorvex({"process", dir.file("in.wav"), dir.file("again.wav"), "--chain", "eq:enabled=off",
                "--bits", "16"});
    runQuorvex({"process", dir.file("in.wav"), dir.file("out.wav"), "--chain", "eq:enabled=off",
                "--bits", "16"});
    EXPECT_EQ(fileBytes(dir.file("again.wav")), fileBytes(dir.file("out.wav")));
    EXPECT_NE(fileBytes(dir.file("out.wav")), plain);
}

}  // namespace
