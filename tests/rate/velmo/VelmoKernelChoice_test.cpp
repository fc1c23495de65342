#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "framework/KernelChoice.h"
#include "rate/velmo/VelmoSections.h"

// CTest runs the enhancer's tests a second time with QUORVEX_KERNELS=plain;
// there the delay lines must take their plain build, whatever the processor.
TEST(VelmoKernelChoice, FollowsTheEnvironment) {
    const char* choice = std::getenv("QUORVEX_KERNELS");
    const bool plainAsked = choice != nullptr && std::string(choice) == "plain";
    EXPECT_EQ(framework::wideKernelsAllowed(), !plainAsked);
    EXPECT_FALSE(VelmoWideLines() && !framework::wideKernelsAllowed());
    EXPECT_EQ(VelmoWideLines(), framework::wideKernelsRun());
}
