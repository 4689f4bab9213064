#include "Support/NamedThread.h"

#include <chrono>
#include <future>
#include <memory>
#include <string>

#include <pthread.h>

#include <gtest/gtest.h>

#include "Support/ProcessWide.h"
#include "Support/Errors.h"

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
        thread.abandon();
    }
    release.set_value();

    EXPECT_EQ(ended->get_future().wait_for(std::chrono::seconds(10)), std::future_status::ready);
    EXPECT_TRUE(isWorkAbandoned());
}

TEST(NamedThreadTests, AThreadThatEndsInTimeIsJoined)
{
    NamedThread thread("in time", [] {});
    EXPECT_TRUE(thread.joinWithin(std::chrono::seconds(10)));
    EXPECT_TRUE(thread.joinWithin(std::chrono::seconds(0)));
}

TEST(NamedThreadTests, AThreadThatDoesNotEndInTimeIsLetGoOf)
{
    std::promise<void> release;
    const auto ended = std::make_shared<std::promise<void>>(); // this test's and the thread's
    {
        NamedThread thread("late", [released = release.get_future().share(), ended] {
            released.wait();
            ended->set_value();
        });
        EXPECT_FALSE(thread.joinWithin(std::chrono::milliseconds(1)));
    }
    release.set_value();
    EXPECT_EQ(ended->get_future().wait_for(std::chrono::seconds(10)), std::future_status::ready);
}

TEST(NamedThreadTests, AThreadThatCannotBeMadeIsNamed)
{
    constexpr std::size_t moreThanThereIs = std::size_t(1) << 50U;
    try {
        const NamedThread thread("glimto.test.huge", moreThanThereIs, [] {});
        FAIL() << "nothing was thrown";
    } catch (const PlatformError& error) {
        EXPECT_EQ(error.domain(), "POSIX");
        EXPECT_EQ(std::string(error.what()).find("Could not start the thread glimto.test.huge: "), 0U);
    }
}

} // namespace
} // namespace glimto
