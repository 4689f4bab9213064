#include "Lifecycle/GlimtoCaptureLifecycleError.h"

#include <gtest/gtest.h>

namespace glimto {
namespace {

TEST(GlimtoCaptureLifecycleErrorTests, ErrorOfOurOwnHasItsCodeAndMessage)
{
    const GlimtoCaptureLifecycleError error("busy", "In use.");
    EXPECT_EQ(error.code(), "busy");
    EXPECT_STREQ(error.what(), "In use.");
    EXPECT_EQ(error.facts().type, "GlimtoCaptureLifecycleError");
}

TEST(GlimtoCaptureLifecycleErrorTests, ErrorWithACauseKeepsTheFactsOfTheCause)
{
    const PlatformError cause("POSIX", 28, "No space left on device");
    const GlimtoCaptureLifecycleError error("finalization_failed", cause.facts());
    EXPECT_EQ(error.code(), "finalization_failed");
    EXPECT_STREQ(error.what(), "No space left on device");
    EXPECT_EQ(error.facts().domain, "POSIX");
    EXPECT_EQ(error.facts().code, 28);
}

} // namespace
} // namespace glimto
