#include "Support/SerialQueue.h"

#include <chrono>
#include <future>
#include <memory>
#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

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
    EXPECT_TRUE(SerialQueue::abandonedAny());
    release->set_value();
    EXPECT_EQ(finished->get_future().wait_for(std::chrono::seconds(5)), std::future_status::ready);
    EXPECT_FALSE(laterTaskRan);
}

TEST(SerialQueueTests, SyncOnAnAbandonedQueueIsRefused)
{
    SerialQueue queue("test.abandoned");
    queue.abandon();
    EXPECT_THROW(queue.sync([] {}), std::logic_error);
}

} // namespace
} // namespace glimto
