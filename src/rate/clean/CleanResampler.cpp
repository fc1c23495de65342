#include <quorvex/CleanResampler.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "rate/clean/CleanDesign.h"
#include "rate/clean/CleanKernels.h"
#include "rate/clean/CleanSteep.h"

namespace quorvex {

namespace {

// Input is taken in pieces of at most this many frames, so the history stays
// the same size whatever the block.
constexpr int kPieceFrames = 4096;
// Whole 256-bit vectors.
constexpr uintptr_t kAlignment = 32;

// A polyphase stage over planar float history, each channel starting on a
// 32-byte boundary of `storage`: the window of the next output starts at
// cursor.first, and `filled` frames are held.
struct PolyphaseStage {
    clean::Design design;
    std::vector<float> table;
    std::vector<float> storage;
    float* left = nullptr;
    float* right = nullptr;
    int64_t frames = 0;
    int64_t filled = 0;
    clean::Cursor cursor;
    // The fraction of an output the input so far has begun, in 1 / down.
    int64_t carried = 0;

    // `most` the most input frames appended between two calls of produce.
    PolyphaseStage(const clean::Design& d, int most) : design(d), table(clean::phaseTable(d)) {
        // Past those frames the history keeps one window, the step of an
        // output and the frames before the window in its tap group, and the
        // kernel may read a group beyond.
        const int64_t wanted =
            design.taps + design.down / design.up + 2 + most + 2 * clean::kTapGroup;
        frames = (wanted + clean::kTapGroup - 1) / clean::kTapGroup * clean::kTapGroup;
        storage.assign(2 * frames + clean::kTapGroup, 0.0f);
        const auto misalignment = reinterpret_cast<uintptr_t>(storage.data()) % kAlignment;
        left = storage.data() + (kAlignment - misalignment) % kAlignment / sizeof(float);
        right = left + frames;
        clear();
    }

    // The history starts as taps - 1 frames of silence, so the first output
    // lies half a window into it.
    void clear() {
        std::fill(storage.begin(), storage.end(), 0.0f);
        filled = design.taps - 1;
        cursor = {};
        carried = 0;
    }

    double delayFrames() const { return 0.5 * design.taps; }

    // Moves by whole tap groups, so every frame keeps its lane in the kernel.
    void makeRoom(int count) {
        if (filled + count + clean::kTapGroup <= frames) return;
        const int64_t dropped = cursor.first & ~int64_t{clean::kTapGroup - 1};
        const int64_t kept = filled - dropped;
        std::memmove(left, left + dropped, kept * sizeof(float));
        std::memmove(right, right + dropped, kept * sizeof(float));
        filled = kept;
        cursor.first -= dropped;
    }

    void append(const double* in, int count) {
        makeRoom(count);
        for (int f = 0; f < count; ++f) {
            left[filled + f] = static_cast<float>(in[2 * f]);
            right[filled + f] = static_cast<float>(in[2 * f + 1]);
        }
        filled += count;
    }

    void append(const float* l, const float* r, int count) {
        makeRoom(count);
        std::copy(l, l + count, left + filled);
        std::copy(r, r + count, right + filled);
        filled += count;
    }

    // The outputs the `count` frames appended since the last call complete;
    // returns how many were written.
    int64_t produce(int count, double* out) {
        const clean::Plan plan{
            table.data() + design.pad, design.rowStride(),     design.taps, design.up,
            design.down / design.up,   design.down % design.up};
        const int64_t begun = static_cast<int64_t>(count) * design.up + carried;
        const int64_t produced = begun / design.down;
        carried = begun % design.down;
        clean::produceOutputs(plan, left, right, cursor, produced, out);
        return produced;
    }
};

void interleave(const float* re, const float* im, int n, double* out) {
    for (int i = 0; i < n; ++i) {
        out[2 * i] = re[i];
        out[2 * i + 1] = im[i];
    }
}

// Pairs whose two-stage form is faster than one polyphase stage: those
// between a rate and about twice another, where the single stage's window
// is long for its output rate.
bool twoStagesPay(int inRate, int outRate) {
    const int lower = std::min(inRate, outRate);
    const int higher = std::max(inRate, outRate);
    return higher >= 2 * lower - lower / 4;
}

}  // namespace

// Three shapes: one polyphase stage where the two-stage form does not pay
// or does not reach; rising, the steep stage at twice the input rate (on
// the input with a zero after each frame) and then a short polyphase stage
// to the output rate; falling, a short polyphase stage to twice the output
// rate, then the steep stage keeping every second sample. The steep stage
// leaves nothing between the lower Nyquist frequency and the intermediate
// rate minus it, so the short stage need only stop from there.
struct CleanResampler::State {
    State(int in, int out, int bits) : inRate(in), outRate(out), outBits(bits) { setUp(); }

    int inRate;
    int outRate;
    int outBits;
    clean::Design design;  // of the whole pair: ready, pass-through and counts
    std::unique_ptr<PolyphaseStage> poly;
    std::unique_ptr<clean::SteepStage> steep;
    bool rising = false;
    int middleRate = 0;
    std::vector<double> middle;  // falling: the short stage's output
    bool keepNext = false;       // falling: whether the steep stage's next output is kept
    // The whole pair's carried fraction, for the counts.
    int64_t carried = 0;

    bool ready() const { return design.up != 0; }

    void setUp() {
        poly.reset();
        steep.reset();
        design = clean::designFor(inRate, outRate);
        if (!ready() || design.passThrough()) return;
        if (!twoStagesPay(inRate, outRate) || !setUpTwoStages())
            poly = std::make_unique<PolyphaseStage>(design, kPieceFrames);
        clear();
    }

    bool setUpTwoStages() {
        const int lower = std::min(inRate, outRate);
        const double lowerNyquist = 0.5 * lower;
        const double pass = clean::kPassFraction * lowerNyquist;
        rising = inRate < outRate;
        middleRate = 2 * lower;
        const int shortIn = rising ? middleRate : inRate;
        const int shortOut = rising ? outRate : middleRate;
        const clean::Design shortDesign =
            clean::shortDesignFor(shortIn, shortOut, pass, middleRate - lowerNyquist);
        if (shortDesign.up == 0) return false;
        if (!shortDesign.passThrough()) {
            const int most = rising ? 2 * kPieceFrames : kPieceFrames;
            poly = std::make_unique<PolyphaseStage>(shortDesign, most);
        }
        if (!rising)
            middle.resize(2 * (static_cast<size_t>(kPieceFrames) * middleRate / inRate + 2));
        steep = std::make_unique<clean::SteepStage>(middleRate, pass, lowerNyquist, rising);
        return true;
    }

    void clear() {
        if (poly) poly->clear();
        if (steep) steep->clear();
        keepNext = false;
        carried = 0;
    }

    int64_t outputFrames(int64_t inFrames) const {
        if (!ready()) return 0;
        if (design.passThrough()) return inFrames;
        return (inFrames * design.up + carried) / design.down;
    }

    double latencySeconds() const {
        if (!steep) return poly->delayFrames() / inRate;
        const double shortDelay = poly ? poly->delayFrames() : 0.0;
        if (rising) return (steep->delaySamples() + shortDelay) / middleRate;
        // The kept samples are the odd ones, one sample later than the even.
        return shortDelay / inRate + (steep->delaySamples() - 1.0) / middleRate;
    }

    void convert(const double* in, int frames, double* out) {
        for (int offset = 0; offset < frames; offset += kPieceFrames) {
            const int piece = std::min(kPieceFrames, frames - offset);
            const double* source = in + 2 * offset;
            if (!steep) {
                poly->append(source, piece);
                out += 2 * poly->produce(piece, out);
            } else if (rising) {
                out = rise(source, piece, out);
            } else {
                out = fall(source, piece, out);
            }
        }
        carried = (frames * int64_t{design.up} + carried) % design.down;
    }

    double* rise(const double* in, int frames, double* out) {
        const auto stuffed = [in](float* re, float* im, int64_t first, int n) {
            for (int i = 0; i < n; i += 2) {
                const int64_t frame = (first + i) / 2;
                re[i] = static_cast<float>(in[2 * frame]);
                im[i] = static_cast<float>(in[2 * frame + 1]);
                re[i + 1] = 0.0f;
                im[i + 1] = 0.0f;
            }
        };
        if (!poly) {
            steep->stream(2 * int64_t{frames}, stuffed,
                          [&out](const float* re, const float* im, int n) {
                              interleave(re, im, n, out);
                              out += 2 * n;
                          });
            return out;
        }
        steep->stream(2 * int64_t{frames}, stuffed,
                      [this](const float* re, const float* im, int n) { poly->append(re, im, n); });
        return out + 2 * poly->produce(2 * frames, out);
    }

    double* fall(const double* in, int frames, double* out) {
        const double* source = in;
        int64_t count = frames;
        if (poly) {
            poly->append(in, frames);
            count = poly->produce(frames, middle.data());
            source = middle.data();
        }
        const auto fill = [source](float* re, float* im, int64_t first, int n) {
            for (int i = 0; i < n; ++i) {
                re[i] = static_cast<float>(source[2 * (first + i)]);
                im[i] = static_cast<float>(source[2 * (first + i) + 1]);
            }
        };
        steep->stream(count, fill, [this, &out](const float* re, const float* im, int n) {
            for (int i = keepNext ? 0 : 1; i < n; i += 2) {
                out[0] = re[i];
                out[1] = im[i];
                out += 2;
            }
            keepNext = (keepNext ? n + 1 : n) % 2 == 1;
        });
        return out;
    }
};

CleanResampler::CleanResampler(int inRate, int outRate, int outBits)
    : state(std::make_unique<State>(inRate, outRate, outBits)) {}

CleanResampler::~CleanResampler() = default;

bool CleanResampler::converts(int inRate, int outRate) {
    return clean::designFor(inRate, outRate).up != 0;
}

const char* CleanResampler::getName() { return "CleanResampler"; }

int CleanResampler::setParamData(unsigned long, const void*, int) { return 0; }

int CleanResampler::getParamData(unsigned long, void*, int) { return 0; }

void CleanResampler::reset() {
    if (state->ready() && !state->design.passThrough()) state->clear();
}

int CleanResampler::process(const RealAudioBuffer* in, RealAudioBuffer* out) {
    if (in->length < 0) return -1;
    if (in->sampleRate != state->inRate) {
        state->inRate = in->sampleRate;
        state->setUp();
    }
    if (!state->ready()) return -1;
    const int frames = in->length / 2;
    const int64_t produced = state->outputFrames(frames);
    if (out->capacity < 2 * produced) return -1;
    // An empty block may come as a view without an array.
    if (frames > 0 && state->design.passThrough())
        std::memmove(out->data, in->data, 2 * frames * sizeof(double));
    else if (frames > 0)
        state->convert(in->data, frames, out->data);
    out->length = static_cast<int>(2 * produced);
    out->sampleRate = state->outRate;
    out->bitsPerSample = state->outBits;
    return 0;
}

bool CleanResampler::ready() const { return state->ready(); }

int64_t CleanResampler::outputFrames(int64_t inFrames) const {
    return state->outputFrames(inFrames);
}

double CleanResampler::latencySeconds() const {
    if (!ready() || state->design.passThrough()) return 0.0;
    return state->latencySeconds();
}

}  // namespace quorvex
