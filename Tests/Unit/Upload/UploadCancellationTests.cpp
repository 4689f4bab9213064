#include "Upload/UploadCancellation.h"

#include <atomic>
#include <chrono>
#include <future>

#include <gtest/gtest.h>

#include "Upload/TaskCancellationError.h"

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

TEST(UploadCancellationTests, EndsAWaitForSomethingElse)
{
    UploadCancellation cancellation;
    auto waiting = std::async(std::launch::async, [&] { cancellation.waitUntil([] { return false; }); });
    cancellation.cancel();
    EXPECT_THROW(waiting.get(), TaskCancellationError);
    EXPECT_FALSE(cancellation.waitInAnyCase([] { return false; }, 0ns));
}

TEST(UploadCancellationTests, AChangeEndsAWaitForIt)
{
    UploadCancellation cancellation;
    bool isDone = false;
    auto waiting = std::async(std::launch::async, [&] { cancellation.waitUntil([&] { return isDone; }); });
    cancellation.change([&] { isDone = true; });
    EXPECT_NO_THROW(waiting.get());
    EXPECT_TRUE(cancellation.waitInAnyCase([&] { return isDone; }, 0ns));
}

TEST(UploadCancellationTests, IsSharedByCopies)
{
    UploadCancellation cancellation;
    UploadCancellation copy = cancellation;
    copy.cancel();
    EXPECT_TRUE(cancellation.isCancelled());
}

TEST(UploadCancellationTests, AStopRequestEndsAWaitAndIsForGood)
{
    std::atomic<bool> isRequested = false;
    const UploadCancellation cancellation([&] { return isRequested.load(); });
    EXPECT_NO_THROW(cancellation.throwIfCancelled());
    auto waiting = std::async(std::launch::async, [&] { cancellation.waitUntil([] { return false; }); });
    isRequested = true;
    EXPECT_THROW(waiting.get(), UploadInterruptedError);
    isRequested = false;
    EXPECT_FALSE(cancellation.waitFor(1h));
}

} // namespace
} // namespace glimto
