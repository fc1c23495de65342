// The Python package's array entry: whatever numpy could describe (any sample
// type, rank, shape and strides, either layout) is refused or taken as an
// array whose samples all lie where the description says, and samples that
// enter come back out unchanged.
#include "FuzzSupport.h"
#include "array_entry.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

namespace {

using quorvex::python::ArrayDescription;
using quorvex::python::ArrayLayout;
using quorvex::python::Refusal;

constexpr long long kMostSamples = 1 << 14;  // arrays the target builds to read

long long extent(FuzzedDataProvider& bytes) {
    if (bytes.ConsumeBool()) return bytes.ConsumeIntegralInRange<long long>(0, 8);
    return bytes.ConsumeIntegral<long long>();
}

ArrayDescription describe(FuzzedDataProvider& bytes) {
    static const char kinds[] = {'f', 'f', 'i', 'u', 'c', 'b'};
    static const int sizes[] = {4, 8, 2, 1, 16};
    ArrayDescription array;
    array.typeName = "fuzzed";
    array.kind = bytes.PickValueInArray(kinds);
    array.itemSize = bytes.PickValueInArray(sizes);
    array.nativeOrder = bytes.ConsumeIntegralInRange<int>(0, 7) != 0;
    array.aligned = bytes.ConsumeIntegralInRange<int>(0, 7) != 0;
    array.ndim = bytes.ConsumeIntegralInRange<int>(0, 3);
    array.channelsFirst = bytes.ConsumeBool();
    for (int axis = 0; axis < 2; ++axis) array.shape[axis] = extent(bytes);
    // Mostly the strides of a contiguous array, sometimes anything.
    const auto rowBytes = static_cast<unsigned long long>(array.shape[1]) * array.itemSize;
    array.strides[1] = array.itemSize;
    array.strides[0] = array.ndim == 2 ? static_cast<long long>(rowBytes) : array.itemSize;
    for (int axis = 0; axis < 2; ++axis)
        if (bytes.ConsumeIntegralInRange<int>(0, 3) == 0) array.strides[axis] = extent(bytes);
    return array;
}

// Mono is folded back as (L + R) / 2, as the command-line tool does: beyond
// half the largest double the sum overflows to infinity of the same sign.
bool foldOverflows(double in, double out, int channels) {
    return channels == 1 && std::fabs(in) > std::numeric_limits<double>::max() / 2 &&
           out == std::copysign(std::numeric_limits<double>::infinity(), in);
}

template <typename Sample>
void roundTrip(FuzzedDataProvider& bytes, const ArrayLayout& layout) {
    std::vector<Sample> samples(static_cast<size_t>(layout.frames * layout.channels));
    for (Sample& s : samples) s = static_cast<Sample>(fuzz::sample(bytes));
    std::vector<double> stereo(static_cast<size_t>(2 * layout.frames));
    quorvex::python::toStereo(samples.data(), layout, 0, layout.frames, stereo.data());
    std::vector<Sample> back;
    quorvex::python::appendFrames(stereo.data(), layout.frames, layout.channels, back);
    fuzz::require(back.size() == samples.size(), "every sample comes back");
    for (long long f = 0; f < layout.frames; ++f)
        for (int c = 0; c < layout.channels; ++c) {
            const Sample in = samples[static_cast<size_t>(
                layout.channelsFirst ? c * layout.frames + f : f * layout.channels + c)];
            const Sample out = back[static_cast<size_t>(f * layout.channels + c)];
            fuzz::require(std::memcmp(&in, &out, sizeof in) == 0 || (in != in && out != out) ||
                              foldOverflows(in, out, layout.channels),
                          "a sample comes back as it went in");
        }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider bytes(data, size);
    const ArrayDescription array = describe(bytes);
    const ArrayLayout layout = quorvex::python::checkArray(array);
    if (layout.refusal != Refusal::None) {
        fuzz::require(!layout.message.empty(), "a refusal says why");
        return 0;
    }
    fuzz::require(array.kind == 'f' && (array.itemSize == 4 || array.itemSize == 8) &&
                      array.nativeOrder && array.aligned &&
                      layout.isDouble == (array.itemSize == 8),
                  "only native floats of 4 or 8 bytes enter");
    fuzz::require(layout.channels == 1 || layout.channels == 2, "one or two channels");
    fuzz::require(layout.frames >= 0 && layout.frames == array.shape[layout.channelsFirst ? 1 : 0],
                  "the frames are the frames axis");
    if (layout.frames * layout.channels > kMostSamples) return 0;
    if (layout.isDouble)
        roundTrip<double>(bytes, layout);
    else
        roundTrip<float>(bytes, layout);
    return 0;
}
