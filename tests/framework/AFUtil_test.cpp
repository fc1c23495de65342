#include <quorvex/AFUtil.h>

#include <gtest/gtest.h>

#include <string>

TEST(AFUtil, ClockStandsStillAndMemoryHelpersReturnTheirDestination) {
    EXPECT_EQ(AFQueryTick(), 0);
    EXPECT_EQ(AFQueryFrequency(), 1);
    auto* p = static_cast<unsigned char*>(AFMalloc(16));
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(AFMemSet(p, 0xAB, 16), p);
    unsigned char q[16] = {};
    EXPECT_EQ(AFMemCopy(q, p, 16), q);
    EXPECT_EQ(q[15], 0xAB);
    AFFree(p);
    AFFree(nullptr);
}

TEST(AFUtil, FormattingCutsAtTheBound) {
    char s[8] = "xxxxxxx";
    EXPECT_EQ(AFsnprintf(s, 4, "%s", "abcdef"), 6);  // the full length is reported
    EXPECT_STREQ(s, "abc");
    EXPECT_EQ(AFsnprintf(s, sizeof s, "%d-%s", 42, "ok"), 5);
    EXPECT_STREQ(s, "42-ok");

    // A printed line gets the prefix, no newline, and at most 1022 characters.
    testing::internal::CaptureStdout();
    AFPRINT_IMPL("%s", std::string(2000, 'm').c_str());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "USER:" + std::string(1017, 'm'));
    testing::internal::CaptureStdout();
    AFPRINT_IMPL("%s", "100% %d\n");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "USER:100% %d\n");
}
