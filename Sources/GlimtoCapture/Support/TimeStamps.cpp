#include "Support/TimeStamps.h"

#include <array>
#include <cstdio>
#include <ctime>

namespace glimto {

std::string iso8601Timestamp(std::chrono::system_clock::time_point time)
{
    const auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(time.time_since_epoch());
    const auto seconds = std::chrono::floor<std::chrono::seconds>(milliseconds);
    const auto clockSeconds = static_cast<std::time_t>(seconds.count());
    std::tm parts = {};
    gmtime_r(&clockSeconds, &parts);
    std::array<char, 64> text = {};
    const std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &parts);
    std::snprintf(text.data() + length, text.size() - length, ".%03dZ",
        static_cast<int>((milliseconds - seconds).count()));
    return text.data();
}

std::string compactLocalTimestamp(std::chrono::system_clock::time_point time)
{
    const std::time_t clockSeconds = std::chrono::system_clock::to_time_t(time);
    std::tm parts = {};
    localtime_r(&clockSeconds, &parts);
    std::array<char, 64> text = {};
    std::strftime(text.data(), text.size(), "%Y%m%d-%H%M%S", &parts);
    return text.data();
}

} // namespace glimto
