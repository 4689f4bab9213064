#include "Recording/StopTimeoutRace.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <future>
#include <memory>
#include <thread>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Support/Errors.h"

namespace glimto {
namespace {

using namespace std::chrono_literals;

std::string messageOf(const std::exception_ptr& error)
{
    return errorFacts(error).message;
}

TEST(StopTimeoutRaceTests, TheFirstOutcomeIsKept)
{
    StopTimeoutRace<int> race;
    race.settle(1);
    race.settle(2);
    race.settle(std::make_exception_ptr(CLIError("late")));

    EXPECT_EQ(race.firstResult(), 1);
}

TEST(StopTimeoutRaceTests, AnErrorThatComesFirstIsThrown)
{
    StopTimeoutRace<int> race;
    race.settle(std::make_exception_ptr(CLIError("first")));
    race.settle(2);

    EXPECT_THROW(race.firstResult(), CLIError);
}

TEST(StopTimeoutRaceTests, AWaiterGetsTheOutcomeThatComesLater)
{
    StopTimeoutRace<int> race;
    std::thread other([&] { race.settle(7); });

    EXPECT_EQ(race.firstResult(), 7);
    other.join();
}

TEST(StopTimeoutRaceTests, OfManySettlersExactlyOneWins)
{
    StopTimeoutRace<int> race;
    std::vector<std::thread> settlers;
    for (int value = 1; value <= 4; ++value)
        settlers.emplace_back([&race, value] { race.settle(value); });
    const int winner = race.firstResult();
    for (auto& settler : settlers)
        settler.join();

    EXPECT_GE(winner, 1);
    EXPECT_LE(winner, 4);
}

class WithStopTimeoutTests : public ::testing::Test {
protected:
    SerialQueue queue{"glimto.test.stop"};
};

TEST_F(WithStopTimeoutTests, ReturnsTheValueOfAnOperationThatIsInTime)
{
    EXPECT_EQ(withStopTimeout(queue, 15s, "stopping capture stream", [] { return 42; }), 42);
}

TEST_F(WithStopTimeoutTests, ReturnsAValueThatCanOnlyBeMoved)
{
    const auto value = withStopTimeout(queue, 15s, "any", [] { return std::make_unique<int>(3); });

    EXPECT_EQ(*value, 3);
}

TEST_F(WithStopTimeoutTests, RunsAnOperationWithoutAValueOnAnotherThread)
{
    std::thread::id runner;
    withStopTimeout(queue, 15s, "any", [&] { runner = std::this_thread::get_id(); });

    EXPECT_NE(runner, std::thread::id());
    EXPECT_NE(runner, std::this_thread::get_id());
}

TEST_F(WithStopTimeoutTests, PassesTheOperationsOwnErrorThrough)
{
    try {
        withStopTimeout(queue, 15s, "any", []() -> int { throw PlatformError("Fake", 5, "broken"); });
        FAIL() << "nothing was thrown";
    } catch (const PlatformError& error) {
        EXPECT_STREQ(error.what(), "broken");
        EXPECT_EQ(error.code(), 5);
    }
}

TEST_F(WithStopTimeoutTests, AnOperationThatHangsIsLetGoOf)
{
    struct Gate {
        std::promise<void> opened;
        std::promise<void> passed;
    };
    const auto gate = std::make_shared<Gate>();
    try {
        withStopTimeout(queue, 10ms, "stopping capture stream", [gate] {
            gate->opened.get_future().wait();
            gate->passed.set_value();
        });
        FAIL() << "nothing was thrown";
    } catch (const CLIError& error) {
        EXPECT_STREQ(error.what(), "Stopping capture timed out after 0s at stage: stopping capture stream");
    }

    // It still owns what it uses when it goes on.
    gate->opened.set_value();
    EXPECT_EQ(gate->passed.get_future().wait_for(std::chrono::seconds(10)), std::future_status::ready);
}

// Stops this process for a second and lets it go on, both from another one.
pid_t stopThisProcessForASecond()
{
    const pid_t self = ::getpid();
    const pid_t child = ::fork();
    if (child == 0) {
        ::usleep(50'000);
        ::kill(self, SIGSTOP);
        ::usleep(1'000'000);
        ::kill(self, SIGCONT);
        ::_exit(0);
    }
    return child;
}

TEST_F(WithStopTimeoutTests, TheTimeForWhichTheProcessWasStoppedDoesNotCount)
{
    const auto begin = std::chrono::steady_clock::now();
    const pid_t child = stopThisProcessForASecond();
    EXPECT_NO_THROW(withStopTimeout(queue, 800ms, "a stage", [begin] {
        // Ends a while after the process goes on.
        while (std::chrono::steady_clock::now() - begin < std::chrono::milliseconds(1300))
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }));
    EXPECT_EQ(::waitpid(child, nullptr, 0), child);
}

TEST_F(WithStopTimeoutTests, TheMessageTellsWholeSecondsAndTheStage)
{
    EXPECT_EQ(messageOf(stopTimeoutError(15s, "stopping capture stream")),
        "Stopping capture timed out after 15s at stage: stopping capture stream");
    EXPECT_EQ(messageOf(stopTimeoutError(60s, "finishing segment writer")),
        "Stopping capture timed out after 60s at stage: finishing segment writer");
    EXPECT_EQ(messageOf(stopTimeoutError(15900ms, "waiting for thumbnail")),
        "Stopping capture timed out after 15s at stage: waiting for thumbnail");
}

} // namespace
} // namespace glimto
