#ifndef QUORVEX_EFFECTS_COMMON_STEREOFRAMES_H
#define QUORVEX_EFFECTS_COMMON_STEREOFRAMES_H

// The frame loop shared by the effects. Callers have checked the output's
// capacity. An unpaired last double belongs to no frame and passes through
// unchanged, so no input sample is ever lost.

#include <quorvex/RealAudioBuffer.h>

#include <cstring>

namespace effects {

using FrameKernel = void (*)(double left, double right, double* outLeft, double* outRight);

inline void copyFrames(const RealAudioBuffer& in, RealAudioBuffer& out) {
    if (in.length > 0)
        std::memcpy(out.data, in.data, static_cast<size_t>(in.length) * sizeof(double));
}

template <FrameKernel Kernel>
void runFrames(const RealAudioBuffer& in, RealAudioBuffer& out) {
    const double* x = in.data;
    double* y = out.data;
    const int frames = in.length / 2;
    for (int f = 0; f < frames; ++f) Kernel(x[2 * f], x[2 * f + 1], &y[2 * f], &y[2 * f + 1]);
    if (in.length > 2 * frames) y[2 * frames] = x[2 * frames];
}

// An effect's output keeps the input's length and format.
inline void finishBlock(const RealAudioBuffer& in, RealAudioBuffer& out) {
    out.length = in.length;
    out.sampleRate = in.sampleRate;
    out.bitsPerSample = in.bitsPerSample;
}

}  // namespace effects

#endif
