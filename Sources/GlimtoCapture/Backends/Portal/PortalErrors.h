#pragma once

#include <cstdint>
#include <string>

#include "Platform/ErrorDomains.h"
#include "Support/Errors.h"

namespace glimto {

// Their numbers are told to driving programs.
enum class PortalFailure : std::int64_t {
    noPortal = 1, // nobody on the session's bus, or nobody who shares screens
    noAnswer = 2, // within its time
    badAnswer = 3, // an error, or something that makes no sense
    givenUp = 4, // by this program
    sourceGone = 5, // closed by the user, unplugged, or its provider ended
    noPicture = 6, // a stream in no format that is known here
    regionElsewhere = 7, // the region does not lie on what was picked
    untoldWindows = 8, // only the dialog knows which windows there are
};

inline PlatformError portalError(PortalFailure failure, const std::string& message)
{
    return {errorDomain::portal, static_cast<std::int64_t>(failure), message};
}

} // namespace glimto
