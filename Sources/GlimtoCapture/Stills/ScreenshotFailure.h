#pragma once

#include <cstdint>
#include <string>

#include "Support/Errors.h"

namespace glimto {

// The domain of errors of taking and writing a screenshot that are not the user's doing, and their numbers.
inline constexpr const char* screenshotErrorDomain = "com.glimto.capture.screenshot";

enum class ScreenshotFailure : std::int64_t {
    noImage = 1,
    noFrameInTime = 2,
    alreadyCompleted = 3,
    emptyFrame = 4,
    notRendered = 5,
    outputIsDirectory = 6,
    noDestination = 7,
    notFinalized = 8,
};

inline PlatformError screenshotError(ScreenshotFailure failure, const std::string& message)
{
    return {screenshotErrorDomain, static_cast<std::int64_t>(failure), message};
}

} // namespace glimto
