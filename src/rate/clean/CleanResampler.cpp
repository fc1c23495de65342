#include <quorvex/CleanResampler.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "rate/clean/CleanDesign.h"
#include "rate/clean/CleanKernels.h"

namespace quorvex {

namespace {

// Input is taken in pieces of at most this many frames, so the history stays
// the same size whatever the block.
constexpr int kPieceFrames = 4096;
// Whole 256-bit vectors.
constexpr uintptr_t kAlignment = 32;

}  // namespace

struct CleanResampler::State {
    State(int in, int out, int bits) : inRate(in), outRate(out), outBits(bits) {}

    int inRate;
    int outRate;
    int outBits;
    clean::Design design;
    std::vector<float> table;
    // Planar history as floats, each channel starting on a 32-byte boundary
    // of `storage`: the window of the next output starts at cursor.first,
    // and `filled` frames are held.
    std::vector<float> storage;
    float* left = nullptr;
    float* right = nullptr;
    int64_t frames = 0;
    int64_t filled = 0;
    clean::Cursor cursor;
    // The fraction of an output the input so far has begun, in 1 / down.
    int64_t carried = 0;

    bool ready() const { return design.up != 0; }

    void setUp() {
        design = clean::designFor(inRate, outRate);
        if (!ready() || design.passThrough()) return;
        table = clean::phaseTable(design, inRate, outRate);
        // Past a piece the history keeps one window, the step of an output
        // and the frames before the window in its tap group, and the kernel
        // may read a group beyond.
        const int64_t wanted =
            design.taps + design.down / design.up + 2 + kPieceFrames + 2 * clean::kTapGroup;
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

    // Moves by whole tap groups, so every frame keeps its lane in the kernel.
    void dropConsumed() {
        const int64_t dropped = cursor.first & ~int64_t{clean::kTapGroup - 1};
        const int64_t kept = filled - dropped;
        std::memmove(left, left + dropped, kept * sizeof(float));
        std::memmove(right, right + dropped, kept * sizeof(float));
        filled = kept;
        cursor.first -= dropped;
    }

    void append(const double* in, int count) {
        if (filled + count + clean::kTapGroup > frames) dropConsumed();
        for (int f = 0; f < count; ++f) {
            left[filled + f] = static_cast<float>(in[2 * f]);
            right[filled + f] = static_cast<float>(in[2 * f + 1]);
        }
        filled += count;
    }

    int64_t outputFrames(int64_t inFrames) const {
        if (!ready()) return 0;
        if (design.passThrough()) return inFrames;
        return (inFrames * design.up + carried) / design.down;
    }

    void convert(const double* in, int frames, double* out) {
        const clean::Plan plan{
            table.data() + design.pad, design.rowStride(),     design.taps, design.up,
            design.down / design.up,   design.down % design.up};
        for (int offset = 0; offset < frames; offset += kPieceFrames) {
            const int piece = std::min(kPieceFrames, frames - offset);
            append(in + 2 * offset, piece);
            const int64_t begun = static_cast<int64_t>(piece) * design.up + carried;
            const int64_t count = begun / design.down;
            carried = begun % design.down;
            clean::produceOutputs(plan, left, right, cursor, count, out);
            out += 2 * count;
        }
    }
};

CleanResampler::CleanResampler(int inRate, int outRate, int outBits)
    : state(new State(inRate, outRate, outBits)) {
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
