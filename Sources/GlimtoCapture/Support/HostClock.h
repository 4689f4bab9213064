#pragma once

#include <chrono>
#include <type_traits>

namespace glimto {

// The host clock: monotonic, in nanoseconds (CLOCK_MONOTONIC, for libstdc++ and libc++ alike). Frames, sound
// and input events have its times, and waits end at them.
using HostClock = std::chrono::steady_clock;
using HostTime = HostClock::time_point;
static_assert(std::is_same_v<HostClock::duration, std::chrono::nanoseconds>);

} // namespace glimto
