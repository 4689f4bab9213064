#pragma once

#include <cstdint>
#include <string>

#include "Support/Errors.h"

namespace glimto {

// The domain of the errors of opening and running captures that mean the same on every window system. Errors
// of one system keep its own domain.
inline constexpr const char* captureStreamErrorDomain = "com.glimto.capture.stream";

// The user said no, or the system did in their name.
inline constexpr std::int64_t captureDeclinedErrorCode = -3801;

// There is no window system that the program could use.
inline constexpr const char* windowSystemErrorDomain = "WindowSystem";
inline constexpr std::int64_t noWindowSystemErrorCode = 1;

inline PlatformError captureDeclined(const std::string& message)
{
    return {captureStreamErrorDomain, captureDeclinedErrorCode, message};
}

} // namespace glimto
