#include "Support/SerialQueue.h"

#include <chrono>
#include <future>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "Support/ProcessWide.h"
#include "Support/Errors.h"

namespace glimto {
namespace {

TEST(SerialQueueTests, RunsTasksInTheOrderOfPosting)
{
    std::vector<int> order;
    SerialQueue queue("glimto.test.order");
    for (int number = 0; number < 100; ++number)
        queue.post([&order, number] { order.push_back(number); });
    queue.sync([] {});
    ASSERT_EQ(order.size(), 100U);
    for (int number = 0; number < 100; ++number)
        EXPECT_EQ(order[static_cast<std::size_t>(number)], number);
}

TEST(SerialQueueTests, KeepsItsWholeLabel)
{
    const SerialQueue queue("glimto.capture.segmented-writer");
    EXPECT_EQ(queue.label(), "glimto.capture.segmented-writer");
}

TEST(SerialQueueTests, RunsWhatIsStillPostedBeforeItGoes)
{
    int count = 0;
    {
        SerialQueue queue("glimto.test.drain");
        for (int number = 0; number < 10; ++number)
            queue.post([&count] { ++count; });
    }
    EXPECT_EQ(count, 10);
}

TEST(SerialQueueTests, KnowsWhetherTheCallerIsOnIt)
{
    SerialQueue queue("glimto.test.current");
    bool isCurrentInside = false;
    queue.sync([&] { isCurrentInside = queue.isCurrent(); });
    EXPECT_TRUE(isCurrentInside);
    EXPECT_FALSE(queue.isCurrent());
}

TEST(SerialQueueTests, ASynchronousTaskFromTheQueueItselfRunsDirectly)
{
    SerialQueue queue("glimto.test.nested");
    int depth = 0;
    queue.sync([&] { queue.sync([&] { ++depth; }); });
    EXPECT_EQ(depth, 1);
}

TEST(SerialQueueTests, ASynchronousTaskPassesOnWhatItThrows)
{
    SerialQueue queue("glimto.test.throw");
    EXPECT_THROW(queue.sync([] { throw std::runtime_error("lost"); }), std::runtime_error);
    bool ran = false;
    queue.sync([&ran] { ran = true; });
    EXPECT_TRUE(ran);
}

TEST(SerialQueueTests, AnAbandonedQueueDoesNotWaitForATaskThatHangs)
{
    const auto release = std::make_shared<std::promise<void>>();
    const auto finished = std::make_shared<std::promise<void>>();
    bool laterTaskRan = false;
    {
        std::promise<void> started;
        SerialQueue queue("glimto.test.hang");
        queue.post([&started, release, finished] {
            started.set_value();
            release->get_future().wait();
            finished->set_value();
        });
        queue.post([&laterTaskRan] { laterTaskRan = true; });
        started.get_future().wait();
        queue.abandon();
        queue.abandon();
        queue.post([&laterTaskRan] { laterTaskRan = true; });
    }
    EXPECT_TRUE(isWorkAbandoned());
    release->set_value();
    EXPECT_EQ(finished->get_future().wait_for(std::chrono::seconds(5)), std::future_status::ready);
    EXPECT_FALSE(laterTaskRan);
}

TEST(SerialQueueTests, ATaskThatIsWaitedForRunsOnTheThreadThatWaits)
{
    SerialQueue queue("glimto.test.here");
    queue.post([] {});
    const auto runner = queue.sync([] { return std::this_thread::get_id(); });
    EXPECT_EQ(runner, std::this_thread::get_id());
}

TEST(SerialQueueTests, ATaskThatIsWaitedForKeepsItsPlaceAmongThePostedOnes)
{
    std::vector<int> order;
    std::promise<void> release;
    SerialQueue queue("glimto.test.place");
    queue.post([released = release.get_future().share()] { released.wait(); });
    queue.post([&order] { order.push_back(1); });
    std::thread other([&] { release.set_value(); });
    queue.sync([&order] { order.push_back(2); });
    other.join();
    queue.post([&order] { order.push_back(3); });
    queue.sync([] {});
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

TEST(SerialQueueTests, TasksOfSeveralThreadsNeverOverlap)
{
    int count = 0;
    SerialQueue queue("glimto.test.overlap", SerialQueue::Thread::none);
    const auto countMany = [&] {
        for (int round = 0; round < 10'000; ++round)
            queue.sync([&count] { ++count; });
    };
    std::thread other(countMany);
    countMany();
    other.join();
    EXPECT_EQ(count, 20'000);
}

TEST(SerialQueueTests, AQueueWithoutThreadTakesNothingForLater)
{
    SerialQueue queue("glimto.test.none", SerialQueue::Thread::none);
    EXPECT_EQ(queue.sync([] { return 3; }), 3);
    EXPECT_THROW(queue.post([] {}), std::logic_error);
}

TEST(SerialQueueTests, AnOperationWithinItsTimeReturnsItsValueOrThrows)
{
    const auto late = std::make_exception_ptr(CLIError("late"));
    SerialQueue queue("glimto.test.within");
    EXPECT_EQ(queue.runWithin(
                  std::chrono::hours(1), [] { return 7; }, late),
        7);
    EXPECT_THROW(queue.runWithin(
                     std::chrono::hours(1), [] { throw std::runtime_error("own"); }, late),
        std::runtime_error);
}

TEST(SerialQueueTests, AnOperationThatTakesTooLongIsLetGoOfWithTheQueue)
{
    const auto release = std::make_shared<std::promise<void>>();
    const auto finished = std::make_shared<std::promise<void>>();
    SerialQueue queue("glimto.test.late");
    const auto late = std::make_exception_ptr(CLIError("late"));
    // Long enough for the operation to have begun on a busy machine: one that has not is dropped.
    EXPECT_THROW(queue.runWithin(
                     std::chrono::milliseconds(500),
                     [release, finished] {
                         release->get_future().wait();
                         finished->set_value();
                     },
                     late),
        CLIError);
    EXPECT_THROW(queue.sync([] {}), std::logic_error);
    release->set_value();
    EXPECT_EQ(finished->get_future().wait_for(std::chrono::seconds(10)), std::future_status::ready);
}

TEST(SerialQueueTests, WhoWaitsForATurnIsLetGoOfWithTheQueue)
{
    std::promise<void> reached;
    const auto release = std::make_shared<std::promise<void>>();
    SerialQueue queue("glimto.test.waiting");
    queue.post([&reached, release] {
        reached.set_value();
        release->get_future().wait();
    });
    reached.get_future().wait();
    auto waiting = std::async(std::launch::async, [&] { queue.sync([] {}); });
    queue.abandon();
    EXPECT_THROW(waiting.get(), std::logic_error);
    release->set_value();
}

TEST(SerialQueueTests, SyncOnAnAbandonedQueueIsRefused)
{
    SerialQueue queue("test.abandoned");
    queue.abandon();
    EXPECT_THROW(queue.sync([] {}), std::logic_error);
}

} // namespace
} // namespace glimto
