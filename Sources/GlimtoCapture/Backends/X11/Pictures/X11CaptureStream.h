#pragma once

#include <memory>

#include "Platform/CaptureStream.h"
#include "Platform/ContentFilter.h"

namespace glimto {

// Captures a display, a part of it, or a window of the X server that DISPLAY names, on a connection and
// a thread of its own. No picture is taken before its start. Throws PlatformError when the content is gone or
// cannot be captured; a server that hangs is given up after ten seconds.
//
// The server says what has changed, so an unchanged screen costs two wake-ups a second, and with the
// pointer shown up to 15 short questions to the server as well. Frames are complete pictures; their
// time is that at which they were asked for. Audio is not captured here.
std::shared_ptr<CaptureStream> openX11CaptureStream(
    const ContentFilter& filter, const CaptureStreamConfiguration& configuration);

} // namespace glimto
