#include <quorvex/RealAudioBuffer.h>

#include <gtest/gtest.h>

#include <climits>
#include <memory>

TEST(RealAudioBuffer, DefaultIsEmptyAndOwnsNothing) {
    RealAudioBuffer b;
    EXPECT_FALSE(b.ownsData);
    EXPECT_EQ(b.data, nullptr);
    EXPECT_EQ(b.capacity, 0);
    EXPECT_EQ(b.length, 0);
    EXPECT_EQ(b.channels, 2);
    EXPECT_EQ(b.sampleRate, 0);
    EXPECT_EQ(b.bitsPerSample, 0);
}

TEST(RealAudioBuffer, OwnedBufferHasTheLibraryShape) {
    RealAudioBuffer b(16, 48000, 24);
    EXPECT_TRUE(b.ownsData);
    ASSERT_NE(b.data, nullptr);
    EXPECT_EQ(b.capacity, 16);
    EXPECT_EQ(b.length, 0);
    EXPECT_EQ(b.channels, 2);
    EXPECT_EQ(b.sampleRate, 48000);
    EXPECT_EQ(b.bitsPerSample, 24);
    b.data[15] = 1.0;  // the whole array is usable (ASan checks the bound)
}

TEST(RealAudioBuffer, CopyIsAsLargeAsTheSourceArrayAndIndependent) {
    RealAudioBuffer src(8, 44100, 16);
    src.length = 3;
    src.channels = 1;
    src.data[0] = 0.25;
    src.data[1] = -0.5;
    src.data[2] = 1.0;

    std::unique_ptr<RealAudioBuffer> copy(src.copyBuffer());
    ASSERT_NE(copy, nullptr);
    EXPECT_TRUE(copy->ownsData);
    EXPECT_NE(copy->data, src.data);
    EXPECT_EQ(copy->capacity, 8);
    EXPECT_EQ(copy->length, 3);
    EXPECT_EQ(copy->channels, 1);
    EXPECT_EQ(copy->sampleRate, 44100);
    EXPECT_EQ(copy->bitsPerSample, 16);
    EXPECT_EQ(copy->data[0], 0.25);
    EXPECT_EQ(copy->data[1], -0.5);
    EXPECT_EQ(copy->data[2], 1.0);

    copy.reset();  // must not free or touch the source's array
    EXPECT_EQ(src.data[1], -0.5);
}

TEST(RealAudioBuffer, ViewLeavesTheCallersArrayAlone) {
    double samples[4] = {1.0, 2.0, 3.0, 4.0};
    {
        RealAudioBuffer view(samples, 4, 4, 96000, 32);
        EXPECT_FALSE(view.ownsData);
        EXPECT_EQ(view.data, samples);
        std::unique_ptr<RealAudioBuffer> copy(view.copyBuffer());
        ASSERT_NE(copy, nullptr);
        EXPECT_TRUE(copy->ownsData);
        EXPECT_EQ(copy->data[3], 4.0);
    }
    EXPECT_EQ(samples[3], 4.0);
}

TEST(RealAudioBuffer, FailedAllocationLeavesAnEmptyBuffer) {
    RealAudioBuffer b(-1, 44100, 16);
    EXPECT_EQ(b.data, nullptr);
    EXPECT_EQ(b.capacity, 0);
    // More doubles than an int byte count can express.
    RealAudioBuffer huge(INT_MAX / 8 + 1, 44100, 16);
    EXPECT_EQ(huge.data, nullptr);
    EXPECT_EQ(huge.capacity, 0);
}
