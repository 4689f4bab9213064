#pragma once

#include <cstdint>
#include <string>

#include "Platform/ErrorDomains.h"
#include "Support/Errors.h"

namespace glimto {

// Numbers of PlatformErrors of this backend in the domain "Wayland".
enum class WaylandFailure : std::int64_t {
    cannotConnect = 1, // nothing answers at WAYLAND_DISPLAY
    connectionLost = 2, // the compositor went away
    noAnswer = 3, // it does not answer in time
    missingProtocol = 4, // it lets no client take pictures
    unsupportedFormat = 5, // its pictures have a pixel format that is not known here
    sourceGone = 6, // the display captured is no longer there
    copyFailed = 7,
    noWindowCapture = 8, // it cannot show a single window to a client
    untoldWindows = 9, // it tells no client which windows there are
    untoldPlaces = 10, // or not where they are
};

inline PlatformError waylandError(WaylandFailure failure, const std::string& message)
{
    return {errorDomain::wayland, static_cast<std::int64_t>(failure), message};
}

} // namespace glimto
