#include <quorvex/AFUtil.h>

#include <gtest/gtest.h>

#include <string>

TEST(AFUtil, ClockStandsStill) {
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(AFQueryTick(), 0);
        EXPECT_EQ(AFQueryFrequency(), 1);
    }
}

TEST(AFUtil, SnprintfCutsAtTheBoundAndReportsTheFullLength) {
    char s[8] = "xxxxxxx";
    EXPECT_EQ(AFsnprintf(s, 4, "%s", "abcdef"), 6);
    EXPECT_STREQ(s, "abc");
    EXPECT_EQ(AFsnprintf(s, sizeof s, "%d-%s", 42, "ok"), 5);
    EXPECT_STREQ(s, "42-ok");
}

TEST(AFUtil, MemoryHelpersReturnTheirDestination) {
    auto* p = static_cast<unsigned char*>(AFMalloc(16));
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(AFMemSet(p, 0xAB, 16), p);
    EXPECT_EQ(p[15], 0xAB);
    unsigned char q[16] = {};
    EXPECT_EQ(AFMemCopy(q, p, 16), q);
    EXPECT_EQ(q[0], 0xAB);
    AFFree(p);
    AFFree(nullptr);
}

TEST(AFUtil, PrintPrefixesUserAndCutsTheLineAt1022Characters) {
    const std::string message(2000, 'm');
    testing::internal::CaptureStdout();
    AFPRINT_IMPL("%s", message.c_str());
    const std::string line = testing::internal::GetCapturedStdout();
    EXPECT_EQ(line.size(), 1022u);
    EXPECT_EQ(line, "USER:" + std::string(1017, 'm'));
}

TEST(AFUtil, PrintAddsNoNewlineAndDoesNotReinterpretTheMessage) {
    testing::internal::CaptureStdout();
    AFPRINT_IMPL("%s", "100% %d\n");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "USER:100% %d\n");
}
