#include "Support/StopToken.h"

#include <chrono>
#include <future>

#include <gtest/gtest.h>

namespace glimto {
namespace {

using namespace std::chrono_literals;

TEST(StopTokenTests, TheWishIsGivenOnceAndForGood)
{
    const StopToken token;
    EXPECT_FALSE(token.isStopRequested());
    EXPECT_TRUE(token.waitFor(0ns));
    token.requestStop();
    token.requestStop();
    EXPECT_TRUE(token.isStopRequested());
    EXPECT_FALSE(token.waitFor(1h));
}

TEST(StopTokenTests, CopiesShareTheWish)
{
    const StopToken token;
    const StopToken copy = token;
    copy.requestStop();
    EXPECT_TRUE(token.isStopRequested());
    EXPECT_FALSE(StopToken().isStopRequested());
}

TEST(StopTokenTests, TheWishEndsAWait)
{
    const StopToken token;
    auto waiting
        = std::async(std::launch::async, [&] { return token.waitFor(std::chrono::nanoseconds::max()); });
    token.requestStop();
    EXPECT_FALSE(waiting.get());
}

} // namespace
} // namespace glimto
