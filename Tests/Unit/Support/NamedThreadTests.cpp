#include "Support/NamedThread.h"

#include <chrono>
#include <future>
#include <memory>
#include <string>

#include <pthread.h>

#include <gtest/gtest.h>

namespace glimto {
namespace {

constexpr std::size_t stackBytes = 0x80000;

TEST(NamedThreadTests, RunsTheFunctionUnderTheEndOfItsName)
{
    std::string name(32, '\0');
    NamedThread thread("glimto.capture.tests", stackBytes,
        [&] { pthread_getname_np(pthread_self(), name.data(), name.size()); });
    thread.join();
    thread.join();

    EXPECT_STREQ(name.c_str(), "o.capture.tests");
}

TEST(NamedThreadTests, TheDestructorWaitsForTheFunction)
{
    bool isDone = false;
    {
        const NamedThread thread("waited for", stackBytes, [&] { isDone = true; });
    }

    EXPECT_TRUE(isDone);
}

TEST(NamedThreadTests, AThreadThatWasLetGoOfGoesOn)
{
    std::promise<void> release;
    const auto ended = std::make_shared<std::promise<void>>(); // this test's and the thread's
    {
        NamedThread thread("let go of", stackBytes, [released = release.get_future().share(), ended] {
            released.wait();
            ended->set_value();
        });
        thread.detach();
    }
    release.set_value();

    EXPECT_EQ(ended->get_future().wait_for(std::chrono::seconds(10)), std::future_status::ready);
    EXPECT_TRUE(NamedThread::detachedAny());
}

} // namespace
} // namespace glimto
