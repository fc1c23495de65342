#include <quorvex/RealAudioBuffer.h>

#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <vector>

namespace {

void expectShape(const RealAudioBuffer& b, bool owns, std::vector<int> shape) {
    EXPECT_EQ(b.ownsData, owns);
    EXPECT_EQ((std::vector<int>{b.capacity, b.length, b.channels, b.sampleRate, b.bitsPerSample}),
              shape);
}

}  // namespace

TEST(RealAudioBuffer, ConstructorsGiveTheLibraryShape) {
    RealAudioBuffer none;
    expectShape(none, false, {0, 0, 2, 0, 0});
    EXPECT_EQ(none.data, nullptr);
    RealAudioBuffer owned(16, 48000, 24);
    expectShape(owned, true, {16, 0, 2, 48000, 24});
    owned.data[15] = 1.0;  // the whole array is usable (ASan checks the bound)
    // A negative size or more doubles than an int byte count can express.
    for (int capacity : {-1, INT_MAX / 8 + 1}) {
        RealAudioBuffer failed(capacity, 44100, 16);
        EXPECT_EQ(failed.data, nullptr);
        EXPECT_EQ(failed.capacity, 0);
    }
}

TEST(RealAudioBuffer, CopyOwnsAnArrayAsLargeAsTheSourceAndLeavesItAlone) {
    double samples[8] = {0.25, -0.5, 1.0, 4.0};
    {
        RealAudioBuffer view(samples, 8, 3, 44100, 16);
        view.channels = 1;
        EXPECT_FALSE(view.ownsData);
        std::unique_ptr<RealAudioBuffer> copy(view.copyBuffer());
        ASSERT_NE(copy, nullptr);
        expectShape(*copy, true, {8, 3, 1, 44100, 16});
        EXPECT_NE(copy->data, samples);
        EXPECT_EQ(copy->data[1], -0.5);
        EXPECT_EQ(copy->data[2], 1.0);
        std::unique_ptr<RealAudioBuffer> second(copy->copyBuffer());
        copy.reset();  // must not free or touch the other's array
        EXPECT_EQ(second->data[2], 1.0);
    }
    EXPECT_EQ(samples[3], 4.0);
}
