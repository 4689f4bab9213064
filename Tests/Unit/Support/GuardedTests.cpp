#include "Support/Guarded.h"

#include <chrono>
#include <thread>
#include <type_traits>

#include <gtest/gtest.h>

namespace glimto {
namespace {

struct Counter {
    int count = 0;
};

TEST(GuardedTests, StateIsReachedThroughAFunction)
{
    Guarded<Counter> guarded(Counter{41});
    guarded.with([](Counter& counter) { ++counter.count; });
    EXPECT_EQ(guarded.with([](const Counter& counter) { return counter.count; }), 42);
}

TEST(GuardedTests, AConstantObjectShowsConstantState)
{
    const Guarded<Counter> guarded(Counter{7});
    guarded.with([](auto& counter) {
        static_assert(std::is_const_v<std::remove_reference_t<decltype(counter)>>);
        EXPECT_EQ(counter.count, 7);
    });
}

TEST(GuardedTests, ChangesOfSeveralThreadsAreAllKept)
{
    Guarded<Counter> guarded;
    const auto countMany = [&guarded] {
        for (int round = 0; round < 10'000; ++round)
            guarded.with([](Counter& counter) { ++counter.count; });
    };
    std::thread other(countMany);
    countMany();
    other.join();
    EXPECT_EQ(guarded.with([](const Counter& counter) { return counter.count; }), 20'000);
}

TEST(GuardedTests, AWaitEndsWithTheChangeThatItIsFor)
{
    Guarded<Counter> guarded;
    std::thread other([&guarded] {
        for (int round = 0; round < 3; ++round)
            guarded.change([](Counter& counter) { ++counter.count; });
    });
    int seen = 0;
    const bool isThere = guarded.waitFor(
        std::chrono::nanoseconds::max(), [](const Counter& counter) { return counter.count == 3; },
        [&](Counter& counter) { seen = counter.count; });
    other.join();
    EXPECT_TRUE(isThere);
    EXPECT_EQ(seen, 3);
}

TEST(GuardedTests, AWaitEndsWithItsTime)
{
    Guarded<Counter> guarded;
    EXPECT_FALSE(guarded.waitFor(
        std::chrono::milliseconds(1), [](const Counter& counter) { return counter.count > 0; },
        [](Counter&) { FAIL() << "the condition does not hold"; }));
}

TEST(GuardedDeathTests, ALockBelowOneThatIsHeldIsAMistake)
{
    Guarded<Counter, LockLevel::leaf> leaf;
    Guarded<Counter> state;
    EXPECT_EQ(
        state.with([&](Counter&) { return leaf.with([](Counter& counter) { return counter.count; }); }), 0);
    EXPECT_DEBUG_DEATH(leaf.with([&](Counter&) { state.with([](Counter&) {}); }), "below one");
}

} // namespace
} // namespace glimto
