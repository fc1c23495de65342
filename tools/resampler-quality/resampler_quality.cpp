// Measures the rate converters on pure tones, side by side: the clean
// converter, the exact one and libsoxr HQ. Every tone is placed exactly on a
// bin of a 65536-point FFT of the output, so a rectangular window shows it
// without leakage and every other bin holds only what the converter added.
// With L the lower of the two Nyquist frequencies:
//
//   pass band     largest gain deviation from 0 dB, tones 20 Hz .. 0.9 L
//   phase         largest deviation from a pure delay, same tones, degrees
//   images        largest component other than the tone, relative to the
//                 input, over tones from 20 Hz to the input's Nyquist
//                 frequency (uncarried tones leave their aliases)
//   THD+N         everything but the tone from 20 Hz to min(20 kHz, L),
//                 relative to a tone near 1 kHz at -1 dBFS
//   constant      largest deviation of the output from a constant input, dB
//
// Output is double precision, never quantised.

#include <quorvex/CleanResampler.h>
#include <quorvex/ReSamplingFilter.h>
#include <quorvex/fft.h>

#include <soxr.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <memory>
#include <vector>

namespace {

constexpr int kFftSize = 65536;
constexpr int kSettleFrames = 8192;  // outputs skipped while the window fills
constexpr int kBlockFrames = 4096;
constexpr double kPi = 3.141592653589793;
constexpr double kPassFraction = 0.9;

// One converter on one stream: takes a stereo block, appends the left
// channel of what it yields.
using Push = std::function<void(std::vector<double>& block, std::vector<double>& left)>;

struct Engine {
    const char* name;
    std::function<Push(int inRate, int outRate)> open;
};

template <typename Filter>
Push filterPush(std::shared_ptr<Filter> filter, int inRate, int outRate) {
    auto output = std::make_shared<std::vector<double>>(
        2 * (kBlockFrames * static_cast<long>(outRate) / inRate + 2));
    return [=](std::vector<double>& block, std::vector<double>& left) {
        const int length = static_cast<int>(block.size());
        RealAudioBuffer in(block.data(), length, length, inRate, 24);
        RealAudioBuffer out(output->data(), static_cast<int>(output->size()), 0, outRate, 24);
        if (filter->process(&in, &out) != 0) return;
        for (int i = 0; i < out.length; i += 2) left.push_back((*output)[i]);
    };
}

Push soxrPush(int inRate, int outRate) {
    const soxr_io_spec_t io = soxr_io_spec(SOXR_FLOAT64_I, SOXR_FLOAT64_I);
    const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_HQ, 0);
    std::shared_ptr<soxr> converter(
        soxr_create(inRate, outRate, 2, nullptr, &io, &quality, nullptr), soxr_delete);
    auto output = std::make_shared<std::vector<double>>(
        2 * (kBlockFrames * static_cast<long>(outRate) / inRate + 64));
    return [=](std::vector<double>& block, std::vector<double>& left) {
        size_t produced = 0;
        soxr_process(converter.get(), block.data(), block.size() / 2, nullptr, output->data(),
                     output->size() / 2, &produced);
        for (size_t i = 0; i < produced; ++i) left.push_back((*output)[2 * i]);
    };
}

const Engine kEngines[] = {
    {"clean",
     [](int inRate, int outRate) {
         return filterPush(std::make_shared<quorvex::CleanResampler>(inRate, outRate, 24), inRate,
                           outRate);
     }},
    {"soxr HQ", soxrPush},
    {"exact",
     [](int inRate, int outRate) {
         return filterPush(std::make_shared<ReSamplingFilter>(inRate, 24, outRate, 24), inRate,
                           outRate);
     }},
};

struct Spectrum {
    std::vector<double> re;
    std::vector<double> im;
    int outRate;

    double binHz() const { return static_cast<double>(outRate) / kFftSize; }
    double power(int k) const { return re[k] * re[k] + im[k] * im[k]; }
};

int binOf(double hz, int outRate) { return static_cast<int>(std::lround(hz * kFftSize / outRate)); }

// kFftSize outputs after the settling ones, for an input of
// amplitude x sin(2 pi hz t) + offset.
std::vector<double> convert(const Engine& engine, int inRate, int outRate, double hz,
                            double amplitude, double offset = 0.0) {
    const Push push = engine.open(inRate, outRate);
    std::vector<double> block(2 * kBlockFrames);
    std::vector<double> kept;
    long t = 0;
    for (int tries = 0; kept.size() < kSettleFrames + kFftSize && tries < 1000; ++tries) {
        for (int i = 0; i < kBlockFrames; ++i, ++t) {
            block[2 * i] =
                amplitude * std::sin(2.0 * kPi * hz * static_cast<double>(t) / inRate) + offset;
            block[2 * i + 1] = block[2 * i];
        }
        push(block, kept);
    }
    kept.resize(kSettleFrames + kFftSize);
    return {kept.begin() + kSettleFrames, kept.end()};
}

Spectrum spectrumOf(std::vector<double> samples, int outRate) {
    Spectrum s{std::move(samples), std::vector<double>(kFftSize, 0.0), outRate};
    fft(kFftSize, s.re.data(), s.im.data());
    return s;
}

double dB(double powerRatio) { return 10.0 * std::log10(powerRatio); }

struct Figures {
    double passDeviation = 0.0;   // dB
    double phaseDeviation = 0.0;  // degrees
    double images = -INFINITY;    // dB relative to the input
    double thdPlusNoise = 0.0;    // dB
    double constant = -INFINITY;  // dB; -inf when exact
};

double largestOtherThan(const Spectrum& s, int bin) {
    double largest = 0.0;
    for (int k = 0; k <= kFftSize / 2; ++k)
        if (k != bin) largest = std::max(largest, s.power(k));
    return largest;
}

// Tones through the pass band: gain, phase against the delay the lowest tone
// shows, and everything else the converter added.
void measurePassBand(const Engine& engine, int inRate, int outRate, Figures& f) {
    const double amplitude = 0.5;
    const double inputPower = amplitude * amplitude / 4.0;
    const double edge = kPassFraction * 0.5 * std::min(inRate, outRate);
    double delay = 0.0;  // within half a period of the lowest tone, 25 ms
    for (int i = 0; i < 40; ++i) {
        const int bin = binOf(20.0 * std::pow(edge / 20.0, i / 39.0), outRate);
        const double hz = bin * static_cast<double>(outRate) / kFftSize;
        const Spectrum s = spectrumOf(convert(engine, inRate, outRate, hz, amplitude), outRate);
        f.passDeviation = std::max(f.passDeviation, std::abs(dB(s.power(bin) / inputPower)));
        f.images = std::max(f.images, dB(largestOtherThan(s, bin) / inputPower));
        // A sine starting at output time s0 / outRate - delay shows phase
        // 2 pi hz (s0 / outRate - delay) - pi / 2 in its bin.
        const double start = 2.0 * kPi * hz * kSettleFrames / outRate;
        const double shown = std::atan2(s.im[bin], s.re[bin]) + kPi / 2.0;
        if (i == 0) {
            delay = std::remainder(start - shown, 2.0 * kPi) / (2.0 * kPi * hz);
        }
        const double error = std::remainder(shown - (start - 2.0 * kPi * hz * delay), 2.0 * kPi);
        f.phaseDeviation = std::max(f.phaseDeviation, std::abs(error) * 180.0 / kPi);
    }
}

// Tones from the pass-band edge to the input's Nyquist frequency: what the
// output carries beside them, or the alias an uncarried tone leaves.
void measureHighTones(const Engine& engine, int inRate, int outRate, Figures& f) {
    const double amplitude = 0.5;
    const double inputPower = amplitude * amplitude / 4.0;
    const double edge = kPassFraction * 0.5 * std::min(inRate, outRate);
    for (double target = edge + 250.0; target < inRate / 2.0 - 100.0; target += 500.0) {
        const bool carried = target < outRate / 2.0;
        // An uncarried tone folds about the nearest multiple of the output
        // rate, which may lie above it as well as below.
        const double fold = outRate * std::round(target / outRate);
        const int bin = binOf(std::abs(target - fold), outRate);
        const double binHz = static_cast<double>(outRate) / kFftSize;
        const double hz = target < fold ? fold - bin * binHz : fold + bin * binHz;
        const Spectrum s = spectrumOf(convert(engine, inRate, outRate, hz, amplitude), outRate);
        const double level = carried ? largestOtherThan(s, bin) : s.power(bin);
        f.images = std::max(f.images, dB(level / inputPower));
    }
}

void measureThdPlusNoise(const Engine& engine, int inRate, int outRate, Figures& f) {
    const int bin = binOf(1000.0, outRate);
    const double hz = bin * static_cast<double>(outRate) / kFftSize;
    const Spectrum s =
        spectrumOf(convert(engine, inRate, outRate, hz, std::pow(10.0, -1.0 / 20.0)), outRate);
    const double top = std::min(20000.0, 0.5 * std::min(inRate, outRate));
    double rest = 0.0;
    for (int k = binOf(20.0, outRate); k <= binOf(top, outRate); ++k)
        if (k != bin) rest += s.power(k);
    f.thdPlusNoise = dB(rest / s.power(bin));
}

void measureConstant(const Engine& engine, int inRate, int outRate, Figures& f) {
    const double level = 0.5;
    for (double y : convert(engine, inRate, outRate, 0.0, 0.0, level))
        f.constant = std::max(f.constant, 20.0 * std::log10(std::abs(y - level) / level));
}

}  // namespace

int main() {
    const int pairs[][2] = {
        {44100, 48000}, {48000, 44100}, {44100, 96000}, {96000, 44100}, {96000, 48000}};
    std::printf("%-16s %-8s %12s %10s %10s %10s %10s\n", "rates (Hz)", "engine", "pass dB",
                "phase deg", "images dB", "THD+N dB", "const dB");
    for (const auto& pair : pairs) {
        for (const Engine& engine : kEngines) {
            Figures f;
            measurePassBand(engine, pair[0], pair[1], f);
            measureHighTones(engine, pair[0], pair[1], f);
            measureThdPlusNoise(engine, pair[0], pair[1], f);
            measureConstant(engine, pair[0], pair[1], f);
            std::printf("%6d -> %-6d %-8s %12.6f %10.6f %10.1f %10.1f %10.1f\n", pair[0], pair[1],
                        engine.name, f.passDeviation, f.phaseDeviation, f.images, f.thdPlusNoise,
                        f.constant);
            std::fflush(stdout);
        }
    }
    return 0;
}
