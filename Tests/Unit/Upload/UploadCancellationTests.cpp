#include "Upload/UploadCancellation.h"

#include <chrono>
#include <future>

#include <gtest/gtest.h>

namespace glimto {
namespace {

using namespace std::chrono_literals;

TEST(UploadCancellationTests, IsGivenOnceAndForGood)
{
    UploadCancellation cancellation;
    EXPECT_FALSE(cancellation.isCancelled());
    EXPECT_TRUE(cancellation.waitFor(0ns));
    cancellation.cancel();
    cancellation.cancel();
    EXPECT_TRUE(cancellation.isCancelled());
    EXPECT_FALSE(cancellation.waitFor(1h));
}

TEST(UploadCancellationTests, EndsAWait)
{
    UploadCancellation cancellation;
    auto waiting = std::async(
        std::launch::async, [&] { return cancellation.waitFor(std::chrono::nanoseconds::max()); });
    cancellation.cancel();
    EXPECT_FALSE(waiting.get());
}

TEST(UploadCancellationTests, TellsTheListenerAsLongAsThereIsOne)
{
    UploadCancellation cancellation;
    int early = 0;
    int told = 0;
    {
        const UploadCancellation::Listener listener(cancellation, [&] { ++early; });
    }
    {
        const UploadCancellation::Listener listener(cancellation, [&] { ++told; });
        cancellation.cancel();
    }
    EXPECT_EQ(early, 0);
    EXPECT_EQ(told, 1);
}

TEST(UploadCancellationTests, TellsEveryListener)
{
    UploadCancellation cancellation;
    int told = 0;
    const UploadCancellation::Listener outer(cancellation, [&] { ++told; });
    {
        const UploadCancellation::Listener inner(cancellation, [] {});
    }
    const UploadCancellation::Listener other(cancellation, [&] { ++told; });
    cancellation.cancel();
    EXPECT_EQ(told, 2);
}

TEST(UploadCancellationTests, TellsALateListenerAtOnce)
{
    UploadCancellation cancellation;
    cancellation.cancel();
    int told = 0;
    const UploadCancellation::Listener listener(cancellation, [&] { ++told; });
    EXPECT_EQ(told, 1);
}

} // namespace
} // namespace glimto
