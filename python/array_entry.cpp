#include "array_entry.h"

namespace quorvex::python {

namespace {

// Far beyond any array that fits in memory, and small enough that every
// product of frames, channels and sample sizes stays in range.
constexpr long long kMostFrames = 1LL << 48;

ArrayLayout refused(Refusal why, std::string message) {
    ArrayLayout layout;
    layout.refusal = why;
    layout.message = std::move(message);
    return layout;
}

std::string shapeText(const ArrayDescription& array) {
    std::string text = "(";
    for (int axis = 0; axis < array.ndim && axis < 2; ++axis)
        text += (axis == 0 ? "" : ", ") + std::to_string(array.shape[axis]);
    if (array.ndim > 2) text += ", ...";
    return text + (array.ndim == 1 ? ",)" : ")");
}

std::string expectedShapes(bool channelsFirst) {
    return channelsFirst ? "(frames,) or (channels, frames)" : "(frames,) or (frames, channels)";
}

// Row after row with no gaps; the stride of an axis of length 1 is never
// used, so it does not matter, nor any stride of an empty array.
bool contiguous(const ArrayDescription& array) {
    for (int axis = 0; axis < array.ndim; ++axis)
        if (array.shape[axis] == 0) return true;
    long long expected = array.itemSize;
    for (int axis = array.ndim - 1; axis >= 0; --axis) {
        if (array.shape[axis] > 1 && array.strides[axis] != expected) return false;
        expected *= array.shape[axis];
    }
    return true;
}

std::string channelCountAdvice(const ArrayDescription& array, long long channels) {
    std::string advice = "audio of shape " + shapeText(array) + " has " + std::to_string(channels) +
                         " channels; the chains take 1 or 2";
    const long long other = array.channelsFirst ? array.shape[1] : array.shape[0];
    if (other >= 1 && other <= 2)
        advice += array.channelsFirst ? " (for (frames, channels) leave channels_first off)"
                                      : " (for (channels, frames) pass channels_first=True)";
    return advice + "; mix down to stereo first otherwise";
}

template <typename Sample>
void spread(const Sample* samples, const ArrayLayout& layout, long long first, long long count,
            double* stereo) {
    const int last = layout.channels - 1;
    for (long long f = 0; f < count; ++f) {
        const long long frame = first + f;
        for (int c = 0; c < 2; ++c) {
            const int from = c < last ? c : last;
            const long long at = layout.channelsFirst ? from * layout.frames + frame
                                                      : frame * layout.channels + from;
            stereo[2 * f + c] = static_cast<double>(samples[at]);
        }
    }
}

}  // namespace

ArrayLayout checkArray(const ArrayDescription& array) {
    if (array.kind != 'f' || (array.itemSize != 4 && array.itemSize != 8))
        return refused(Refusal::WrongType, "audio holds " + array.typeName +
                                               " samples; pass float32 or float64 at full "
                                               "scale 1.0 (int16 audio / 32768, for example)");
    if (!array.nativeOrder)
        return refused(Refusal::WrongType,
                       "audio holds " + array.typeName +
                           " samples in foreign byte order; pass audio.astype(numpy.float" +
                           std::to_string(array.itemSize * 8) + ")");
    if (array.ndim < 1 || array.ndim > 2)
        return refused(Refusal::WrongValue, "audio must have shape " +
                                                expectedShapes(array.channelsFirst) + ", not " +
                                                shapeText(array));
    for (int axis = 0; axis < array.ndim; ++axis)
        if (array.shape[axis] < 0 || array.shape[axis] > kMostFrames)
            return refused(Refusal::WrongValue,
                           "audio of shape " + shapeText(array) + " is out of range");

    ArrayLayout layout;
    layout.isDouble = array.itemSize == 8;
    layout.ndim = array.ndim;
    layout.channelsFirst = array.ndim == 2 && array.channelsFirst;
    const int framesAxis = layout.channelsFirst ? 1 : 0;
    const long long channels = array.ndim == 1 ? 1 : array.shape[1 - framesAxis];
    if (channels < 1 || channels > 2)
        return refused(Refusal::WrongValue, channelCountAdvice(array, channels));
    if (!contiguous(array))
        return refused(Refusal::WrongValue,
                       "audio of shape " + shapeText(array) +
                           " is not contiguous in memory (a slice or a transpose?); pass "
                           "numpy.ascontiguousarray(audio)");
    if (!array.aligned)
        return refused(Refusal::WrongValue,
                       "audio is not aligned in memory; pass numpy.require(audio, "
                       "requirements='CA')");
    layout.channels = static_cast<int>(channels);
    layout.frames = array.shape[framesAxis];
    return layout;
}

void toStereo(const void* samples, const ArrayLayout& layout, long long first, long long count,
              double* stereo) {
    if (layout.isDouble)
        spread(static_cast<const double*>(samples), layout, first, count, stereo);
    else
        spread(static_cast<const float*>(samples), layout, first, count, stereo);
}

}  // namespace quorvex::python
