// The streaming runners against the same library filters run by hand over
// the whole stream in one block: the same samples, bit for bit, with the
// chain's delay cut from the start and the output spanning the input.
#include <quorvex/chain.h>
#include <quorvex/quorvex.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <vector>

#include "support/FreshProcess.h"

namespace {

using testutil::inFreshProcess;
namespace qc = quorvex::chain;

constexpr int kTailFrames = 4096;  // silence after the input that pushes out every delayed frame

// Two tones a channel, different on each side.
std::vector<double> tones(int frames, int rate, double amplitude) {
    const double pi = std::acos(-1.0);
    std::vector<double> stereo(2 * static_cast<size_t>(frames));
    for (int f = 0; f < frames; ++f) {
        stereo[2 * f] = amplitude * (0.6 * std::sin(2 * pi * 440.0 * f / rate) +
                                     0.4 * std::sin(2 * pi * 5000.0 * f / rate));
        stereo[2 * f + 1] = amplitude * (0.7 * std::sin(2 * pi * 90.0 * f / rate) +
                                         0.3 * std::sin(2 * pi * 12000.0 * f / rate));
    }
    return stereo;
}

std::vector<unsigned char> pcm16(const std::vector<double>& stereo) {
    std::vector<unsigned char> bytes(2 * stereo.size());
    for (size_t i = 0; i < stereo.size(); ++i) {
        const auto sample = static_cast<int16_t>(std::lround(stereo[i] * 32767.0));
        std::memcpy(&bytes[2 * i], &sample, 2);
    }
    return bytes;
}

// Writes `input` in pieces of uneven sizes, as a host reading a socket might.
template <typename Runner, typename Sample>
void writeUnevenly(Runner& runner, const std::vector<Sample>& input, size_t sampleBytesPerFrame) {
    const long long total = static_cast<long long>(input.size() / sampleBytesPerFrame);
    const long long pieces[] = {1, 999, 4096, 0, 3, 5000};
    long long done = 0;
    for (size_t i = 0; done < total; ++i) {
        const long long count = std::min(pieces[i % std::size(pieces)], total - done);
        runner.write(input.data() + done * sampleBytesPerFrame, count);
        done += count;
    }
    runner.finish();
}

std::vector<double> runDoubles(qc::Chain& chain, const std::vector<double>& input, bool clip,
                               long long* clipped = nullptr) {
    std::vector<double> output;
    qc::DoubleRunner runner(chain, clip, [&](const double* stereo, long long frames) {
        output.insert(output.end(), stereo, stereo + 2 * frames);
    });
    writeUnevenly(runner, input, 2);
    if (clipped) *clipped = runner.clippedSamples();
    return output;
}

std::vector<double> runDoubles(const char* text, qc::StreamFormat format,
                               const std::vector<double>& input) {
    return inFreshProcess<double>([&] {
        qc::Chain chain(text, format);
        return runDoubles(chain, input, false);
    });
}

// The filter's output for `input` followed by silence, all in one block,
// from frame `delay` on; empty when the filter fails or falls short.
std::vector<double> byHand(RealAudioFilter& filter, std::vector<double> input, int rate, int bits,
                           int outRate, long long delay, size_t frames) {
    input.resize(input.size() + 2 * kTailFrames, 0.0);
    RealAudioBuffer in(input.data(), static_cast<int>(input.size()), static_cast<int>(input.size()),
                       rate, bits);
    RealAudioBuffer out(4 * static_cast<int>(input.size()), outRate, bits);
    const long long end = 2 * (delay + static_cast<long long>(frames));
    if (filter.process(&in, &out) != 0 || out.length < end) return {};
    return std::vector<double>(out.data + 2 * delay, out.data + end);
}

// Switches the equalizer on with one band's gain set.
void setGain(RealAudioFilter& eq, int band, double decibels) {
    namespace eqb = quorvex::equalizer_block;
    unsigned char block[eqb::kSize];
    eq.getParamData(eqb::kId, block, sizeof block);
    block[eqb::kEnabled] = 1;
    const double gain = decibels / eqb::kDecibelsPerGain;
    std::memcpy(block + eqb::gainOffset(band), &gain, sizeof gain);
    eq.setParamData(eqb::kId, block, sizeof block);
}

// The decimator's 65-tap FIR delays by 32 input frames: 16 at 48 kHz.
TEST(DoubleRunner, MatchesTheFiltersRunByHandWhateverTheWriteSizes) {
    const int frames = 10000;
    const std::vector<double> input = tones(frames, 96000, 0.4);
    const std::vector<double> output = runDoubles("eq:63=+3,1k=-6 decimate", {96000, 24}, input);
    const std::vector<double> expected = inFreshProcess<double>([&] {
        EqualizerFilter eq;
        setGain(eq, 0, 3.0);
        setGain(eq, 3, -6.0);
        DownSamplingFilter decimate(24, 24);
        CompositionFilter hand(&eq, &decimate);
        return byHand(hand, input, 96000, 24, 48000, 16, frames / 2);
    });
    ASSERT_EQ(output.size(), static_cast<size_t>(frames));
    EXPECT_EQ(output, expected);
}

// 44.1 to 48 kHz: the exact converter's 4096 taps either side at the common
// multiple of 7.056 MHz delay by 27.9 output frames, 28 once rounded; the
// clean one by half its window. Blocks here are 3822 frames (whole output
// frames per block); an input of whole blocks leaves the tail to the flush
// alone.
TEST(DoubleRunner, TrimsTheDelayOfARateChangeSoTheOutputSpansTheInput) {
    const double cleanDelay = quorvex::CleanResampler(44100, 48000, 16).latencySeconds() * 48000;
    const struct {
        const char* text;
        long long delay;
        std::function<std::unique_ptr<RealAudioFilter>()> make;
    } engines[] = {
        {"resample:48000,engine=exact", 28,
         [] { return std::make_unique<ReSamplingFilter>(44100, 16, 48000, 16); }},
        {"resample:48000", std::llround(cleanDelay),
         [] { return std::make_unique<quorvex::CleanResampler>(44100, 48000, 16); }},
    };
    for (const auto& engine : engines) {
        for (const int frames : {1, 4095, 2 * 3822, 13237}) {
            const std::vector<double> input = tones(frames, 44100, 0.5);
            const std::vector<double> output = runDoubles(engine.text, {44100, 16}, input);
            const size_t span = static_cast<size_t>(frames * 48000LL / 44100);
            ASSERT_EQ(output.size(), 2 * span) << engine.text << " " << frames;
            const std::vector<double> expected = inFreshProcess<double>([&] {
                return byHand(*engine.make(), input, 44100, 16, 48000, engine.delay, span);
            });
            EXPECT_EQ(output, expected) << engine.text << " " << frames;
        }
    }
}

std::vector<double> scaled(std::vector<double> samples, double decibels) {
    const double factor = std::pow(10.0, decibels / 20.0);
    for (double& x : samples) x *= factor;
    return samples;
}

// A gain step is one exact multiply wherever it stands, however often: the
// rest of the chain sees (or hands on) the scaled samples bit for bit.
TEST(GainStep, ScalesExactlyAtAnyPositionInTheChain) {
    // The chain without its gain steps (null: nothing), and the dB its input and output are scaled
    // by.
    const struct {
        const char* chain;
        const char* rest;
        double before, after;
    } cases[] = {
        {"gain:+9.5dB", nullptr, 9.5, 0.0},
        {"gain:-3 eq:1k=+3", "eq:1k=+3", -3.0, 0.0},
        {"eq:1k=+3 gain:-3", "eq:1k=+3", 0.0, -3.0},
        {"gain:-4 surround gain:2", "surround", -4.0, 2.0},
    };
    const std::vector<double> input = tones(6000, 44100, 0.5);
    for (const auto& c : cases) {
        const std::vector<double> output = runDoubles(c.chain, {44100, 16}, input);
        const std::vector<double> restIn = scaled(input, c.before);
        const std::vector<double> restOut =
            c.rest != nullptr ? runDoubles(c.rest, {44100, 16}, restIn) : restIn;
        EXPECT_TRUE(output == scaled(restOut, c.after)) << c.chain;
    }
}

// Doubles bound for integers are clipped at full scale and counted; doubles
// staying doubles keep their overs.
TEST(DoubleRunner, ClipsOversOnlyOnTheWayToIntegers) {
    const std::vector<double> loud = tones(8000, 44100, 0.9);
    for (const bool clip : {true, false}) {
        qc::Chain chain("eq:400=+12", {44100, 24});
        long long clipped = 0;
        const std::vector<double> output = runDoubles(chain, loud, clip, &clipped);
        double peak = 0.0;
        for (const double x : output) peak = std::fmax(peak, std::fabs(x));
        EXPECT_EQ(peak > 1.0, !clip) << peak;
        EXPECT_EQ(clipped > 0, clip) << clipped;
    }
}

std::vector<unsigned char> runPcm(qc::Chain& chain, const std::vector<unsigned char>& input,
                                  int bitsOut) {
    std::vector<unsigned char> output;
    qc::PcmRunner runner(chain, [&](const unsigned char* pcm, long long frames, int bits) {
        EXPECT_EQ(bits, bitsOut);
        output.insert(output.end(), pcm, pcm + frames * 2 * (bits / 8));
    });
    writeUnevenly(runner, input, 2 * (chain.input().bits / 8));
    return output;
}

// CD audio through an equalizer and the enhancer, as a player hands it over:
// 16-bit PCM in, 24-bit PCM at twice the rate out, 16.5 output frames late
// (17 once rounded).
TEST(PcmRunner, MatchesTheIntegerAdapterRunByHand) {
    const int frames = 9000;
    const std::vector<unsigned char> input = pcm16(tones(frames, 44100, 0.3));
    const std::vector<unsigned char> output = inFreshProcess<unsigned char>([&] {
        qc::Chain chain("eq:1k=+6 velmo:source=mp3", {44100, 16});
        return qc::PcmRunner::accepts(chain) ? runPcm(chain, input, 24)
                                             : std::vector<unsigned char>();
    });
    const size_t frameBytes = 6, delayBytes = 17 * frameBytes;
    ASSERT_EQ(output.size(), 2 * frames * frameBytes);

    const std::vector<unsigned char> expected = inFreshProcess<unsigned char>([&] {
        namespace vb = quorvex::velmo_block;
        EqualizerFilter eq;
        setGain(eq, 3, 6.0);
        UpSamplingFilter velmo;
        unsigned char block[vb::kSize];
        velmo.getParamData(vb::kId, block, sizeof block);
        block[vb::kEnabled] = 1;
        block[vb::kMp3Source] = 1;
        std::memcpy(block + vb::kMode, &vb::kModeSuper, sizeof vb::kModeSuper);
        velmo.setParamData(vb::kId, block, sizeof block);
        CompositionFilter composition(&eq, &velmo);
        DataTypeConversionFilter hand(&composition);
        std::vector<unsigned char> whole = input;
        whole.resize(input.size() + 4 * kTailFrames, 0);
        std::vector<unsigned char> out(3 * whole.size());
        const int produced = hand.process(44100, 16, whole.data(), static_cast<int>(whole.size()),
                                          88200, 24, out.data(), static_cast<int>(out.size()));
        if (produced < static_cast<int>(delayBytes + output.size()))
            return std::vector<unsigned char>();
        return std::vector<unsigned char>(out.begin() + delayBytes,
                                          out.begin() + delayBytes + output.size());
    });
    EXPECT_TRUE(output == expected);
}
// The integer-only filter takes the PCM directly; a chain that rises above
// twice its output rate on the way does not fit the integer adapter.
TEST(PcmRunner, RunsTheIntegerFilterAloneAndRefusesWhatTheAdapterCannotHold) {
    const int frames = 5001;
    const std::vector<unsigned char> input = pcm16(tones(frames, 44100, 0.5));
    qc::Chain hold("hold", {44100, 16});
    const std::vector<unsigned char> output = runPcm(hold, input, 16);
    ASSERT_EQ(output.size(), 2 * input.size());
    for (int f = 0; f < frames; ++f)
        for (int copy = 0; copy < 2; ++copy)
            ASSERT_EQ(std::memcmp(&output[(2 * f + copy) * 4], &input[f * 4], 4), 0)
                << "frame " << f;

    qc::Chain rising("velmo:enhance=off resample:22050", {44100, 16});
    EXPECT_FALSE(qc::PcmRunner::accepts(rising));
    EXPECT_THROW(qc::PcmRunner(rising, [](const unsigned char*, long long, int) {}),
                 std::logic_error);
}

}  // namespace
