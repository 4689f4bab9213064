#include "Recording/StopTimeoutRace.h"

#include <string>

#include "Support/Errors.h"

namespace glimto {

std::exception_ptr stopTimeoutError(double seconds, const std::string& stage)
{
    return std::make_exception_ptr(StopTimeoutError("Stopping capture timed out after "
        + std::to_string(static_cast<long long>(seconds)) + "s at stage: " + stage));
}

} // namespace glimto
