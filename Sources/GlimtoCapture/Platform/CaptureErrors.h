#pragma once

#include <cstdint>
#include <string>

#include "Platform/ErrorDomains.h"
#include "Support/Errors.h"

namespace glimto {

// In the domain captureStream: the user said no, or the system did in their name.
inline constexpr std::int64_t captureDeclinedErrorCode = -3801;

// In the domain windowSystem: there is none that the program could use.
inline constexpr std::int64_t noWindowSystemErrorCode = 1;

inline PlatformError captureDeclined(const std::string& message)
{
    return {errorDomain::captureStream, captureDeclinedErrorCode, message};
}

} // namespace glimto
