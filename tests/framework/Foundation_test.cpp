// The sample buffer and the utility layer.
#include <quorvex/AFUtil.h>
#include <quorvex/RealAudioBuffer.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>

TEST(RealAudioBuffer, CopyIsAsLargeAsTheSourceArrayAndLeavesItAlone) {
    RealAudioBuffer src(8, 44100, 16);
    src.length = 3;
    src.channels = 1;
    for (int i = 0; i < 3; ++i) src.data[i] = 0.25 * i;
    std::unique_ptr<RealAudioBuffer> copy(src.copyBuffer());
    ASSERT_NE(copy, nullptr);
    EXPECT_TRUE(copy->ownsData);
    EXPECT_NE(copy->data, src.data);
    EXPECT_EQ(copy->capacity, 8);
    EXPECT_EQ(copy->length, 3);
    EXPECT_EQ(copy->channels, 1);
    EXPECT_EQ(copy->sampleRate, 44100);
    EXPECT_EQ(copy->bitsPerSample, 16);
    EXPECT_EQ(copy->data[2], 0.5);
    copy.reset();
    EXPECT_EQ(src.data[2], 0.5);

    double mine[2] = {1.0, 2.0};
    { RealAudioBuffer view(mine, 2, 2, 48000, 24); }  // a view never frees the caller's array
    EXPECT_EQ(mine[1], 2.0);
    RealAudioBuffer tooLarge(-1, 44100, 16);
    EXPECT_EQ(tooLarge.data, nullptr);
    EXPECT_EQ(tooLarge.capacity, 0);
}

TEST(AFUtil, BoundedFormattingAndTheUserLine) {
    char s[8];
    EXPECT_EQ(AFsnprintf(s, 4, "%s", "abcdef"), 6);
    EXPECT_STREQ(s, "abc");
    EXPECT_EQ(AFQueryTick(), 0);
    EXPECT_EQ(AFQueryFrequency(), 1);

    testing::internal::CaptureStdout();
    AFPRINT_IMPL("%s", std::string(2000, 'm').c_str());
    AFPRINT_IMPL("%s", "100% %d");
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "USER:" + std::string(1017, 'm') + "USER:100% %d");
}
