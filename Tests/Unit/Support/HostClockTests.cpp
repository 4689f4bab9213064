#include "Support/HostClock.h"

#include <ctime>

#include <gtest/gtest.h>

namespace glimto {
namespace {

HostTime monotonicTime()
{
    timespec time = {};
    ::clock_gettime(CLOCK_MONOTONIC, &time);
    return HostTime(std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec));
}

TEST(HostClockTests, ItIsTheSystemsMonotonicClock)
{
    const HostTime before = monotonicTime();
    const HostTime now = HostClock::now();
    EXPECT_LE(before, now);
    EXPECT_LE(now, monotonicTime());
}

} // namespace
} // namespace glimto
