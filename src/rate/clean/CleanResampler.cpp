#include <quorvex/CleanResampler.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "rate/clean/CleanDesign.h"
#include "rate/clean/CleanKernels.h"

namespace quorvex {

namespace {

// Input is taken in pieces of at most this many frames, so the history stays
// the same size whatever the block.
constexpr int kPieceFrames = 4096;

}  // namespace

struct CleanResampler::State {
    int inRate;
    int outRate;
    int outBits;
    clean::Design design;
    std::vector<float> table;
    // Planar history as floats: the window of the next output starts at
    // cursor.first, and `filled` frames are held.
    std::vector<float> left;
    std::vector<float> right;
    int64_t filled = 0;
    clean::Cursor cursor;
    // The fraction of an output the input so far has begun, in 1 / down.
    int64_t carried = 0;

    bool ready() const { return design.up != 0; }

    void setUp() {
        design = clean::designFor(inRate, outRate);
        if (!ready() || design.passThrough()) return;
        table = clean::phaseTable(design, inRate, outRate);
        // Past a piece the history keeps one window and the step of an output.
        const size_t frames = design.taps + design.down / design.up + 2 + kPieceFrames;
        left.resize(frames);
        right.resize(frames);
        clear();
    }

    // The history starts as taps - 1 frames of silence, so the first output
    // lies half a window into it.
    void clear() {
        std::fill(left.begin(), left.end(), 0.0f);
        std::fill(right.begin(), right.end(), 0.0f);
        filled = design.taps - 1;
        cursor = {};
        carried = 0;
    }

    void dropConsumed() {
        const int64_t kept = filled - cursor.first;
        std::memmove(left.data(), left.data() + cursor.first, kept * sizeof(float));
        std::memmove(right.data(), right.data() + cursor.first, kept * sizeof(float));
        filled = kept;
        cursor.first = 0;
    }

    void append(const double* in, int frames) {
        if (filled + frames > static_cast<int64_t>(left.size())) dropConsumed();
        for (int f = 0; f < frames; ++f) {
            left[filled + f] = static_cast<float>(in[2 * f]);
            right[filled + f] = static_cast<float>(in[2 * f + 1]);
        }
        filled += frames;
    }

    int64_t outputFrames(int64_t inFrames) const {
        if (!ready()) return 0;
        if (design.passThrough()) return inFrames;
        return (inFrames * design.up + carried) / design.down;
    }

    void convert(const double* in, int frames, double* out) {
        const clean::Plan plan{table.data(), design.taps, design.up, design.down / design.up,
                               design.down % design.up};
        for (int offset = 0; offset < frames; offset += kPieceFrames) {
            const int piece = std::min(kPieceFrames, frames - offset);
            append(in + 2 * offset, piece);
            const int64_t begun = static_cast<int64_t>(piece) * design.up + carried;
            const int64_t count = begun / design.down;
            carried = begun % design.down;
            clean::produceOutputs(plan, left.data(), right.data(), cursor, count, out);
            out += 2 * count;
        }
    }
};

CleanResampler::CleanResampler(int inRate, int outRate, int outBits)
    : state(new State{inRate, outRate, outBits, {}, {}, {}, {}, 0, {}, 0}) {
    state->setUp();
}

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
    return 0.5 * state->design.taps / state->inRate;
}

}  // namespace quorvex
