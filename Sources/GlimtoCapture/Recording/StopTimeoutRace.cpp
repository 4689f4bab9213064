#include "Recording/StopTimeoutRace.h"

#include <string>

#include "Support/Errors.h"

namespace glimto {

std::exception_ptr stopTimeoutError(std::chrono::nanoseconds limit, const std::string& stage)
{
    const auto seconds = std::chrono::floor<std::chrono::seconds>(limit).count();
    return std::make_exception_ptr(StopTimeoutError(
        "Stopping capture timed out after " + std::to_string(seconds) + "s at stage: " + stage));
}

} // namespace glimto
