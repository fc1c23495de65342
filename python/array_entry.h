#ifndef QUORVEX_PYTHON_ARRAY_ENTRY_H
#define QUORVEX_PYTHON_ARRAY_ENTRY_H

// How an audio array enters the chain and leaves it, apart from any Python:
// the binding describes the array it was given, this checks the description
// and moves samples between the array's layout and the chain's interleaved
// stereo doubles.

#include <string>
#include <vector>

namespace quorvex::python {

// What the binding can say of an array without reading its samples.
struct ArrayDescription {
    std::string typeName;  // for messages: "float32", "int16"
    char kind = 'f';       // 'f' floating point, 'i' signed, ...
    int itemSize = 0;      // bytes per sample
    bool nativeOrder = true;
    bool aligned = true;
    int ndim = 0;
    long long shape[2] = {0, 0};    // the first `ndim` are meaningful
    long long strides[2] = {0, 0};  // in bytes
    bool channelsFirst = false;     // (channels, frames) asked for explicitly
};

enum class Refusal { None, WrongType, WrongValue };

// A checked array: frames and channels in the order the samples lie.
struct ArrayLayout {
    Refusal refusal = Refusal::None;
    std::string message;  // why, when refused
    bool isDouble = false;
    bool channelsFirst = false;
    int ndim = 1;
    int channels = 1;
    long long frames = 0;
};

// Floating-point samples of 4 or 8 bytes in native order, laid out
// contiguously as (frames,) or (frames, channels), or (channels, frames) when
// asked for, with 1 or 2 channels; anything else is refused with a message
// that says what to pass instead.
ArrayLayout checkArray(const ArrayDescription& array);

// `count` frames from `first` on as interleaved stereo doubles; mono goes to
// both channels.
void toStereo(const void* samples, const ArrayLayout& layout, long long first, long long count,
              double* stereo);

// The samples themselves where they already are interleaved stereo doubles,
// so the chain can read them in place; else null.
inline const double* stereoInPlace(const void* samples, const ArrayLayout& layout) {
    const bool interleavedStereo = layout.channels == 2 && !layout.channelsFirst;
    return layout.isDouble && interleavedStereo ? static_cast<const double*>(samples) : nullptr;
}

// Stereo frames the chain made, appended in the layout's sample type and
// channel count, interleaved; mono is folded back as (L + R) / 2. The vector
// grows by insertion, never zero-filled first: the output is the largest
// thing a call touches.
template <typename Sample>
void appendFrames(const double* stereo, long long frames, int channels, std::vector<Sample>& out) {
    if (channels == 2) {
        out.insert(out.end(), stereo, stereo + 2 * frames);
        return;
    }
    out.reserve(out.size() + static_cast<size_t>(frames));
    for (long long f = 0; f < frames; ++f)
        out.push_back(static_cast<Sample>((stereo[2 * f] + stereo[2 * f + 1]) / 2));
}

}  // namespace quorvex::python

#endif
