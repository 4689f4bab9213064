#pragma once

#include <chrono>
#include <string>

namespace glimto {

// ISO 8601 internet date-time in UTC with milliseconds, truncated: "2024-01-31T15:45:02.123Z".
std::string iso8601Timestamp(std::chrono::system_clock::time_point time);

// Local date and time as "yyyyMMdd-HHmmss": "20240131-154502".
std::string compactLocalTimestamp(std::chrono::system_clock::time_point time);

} // namespace glimto
