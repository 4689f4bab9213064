#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace glimto {

// ISO 8601 internet date-time in UTC with milliseconds, truncated: "2024-01-31T15:45:02.123Z".
std::string iso8601Timestamp(std::chrono::system_clock::time_point time);

// Local date and time as "yyyyMMdd-HHmmss": "20240131-154502".
std::string compactLocalTimestamp(std::chrono::system_clock::time_point time);

// The host clock: monotonic, nanoseconds. Frames, audio and input events are all stamped with it.
std::int64_t hostTimeNanoseconds();

} // namespace glimto
