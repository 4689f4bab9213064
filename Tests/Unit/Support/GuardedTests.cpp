#include "Support/Guarded.h"

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

} // namespace
} // namespace glimto
