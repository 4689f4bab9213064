#pragma once

#include <memory>

#include "Platform/CaptureStream.h"
#include "Platform/ContentFilter.h"

namespace glimto {

// Captures a display or a part of it, on a connection and a thread of its own. Throws PlatformError.
std::shared_ptr<CaptureStream> openWaylandCaptureStream(
    const ContentFilter& filter, const CaptureStreamConfiguration& configuration);

} // namespace glimto
