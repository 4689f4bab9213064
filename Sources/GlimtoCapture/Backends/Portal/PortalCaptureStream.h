#pragma once

#include <memory>

#include "Backends/Portal/PortalPictures.h"
#include "Backends/Portal/PortalPointer.h"
#include "Backends/Portal/PortalShare.h"
#include "Platform/CaptureStream.h"

namespace glimto {

struct PortalPointerTrack {
    std::shared_ptr<PortalPointer> listener; // the stream's and the window system's
    Rect sharedFrame; // all that is shared, in global display points
};

// Delivers what the user shares, on a thread of its own. A screen that does not change sends nothing, and
// costs two wake-ups a second. `consumers` is what the share was made with.
std::shared_ptr<CaptureStream> makePortalCaptureStream(std::unique_ptr<PortalShare> share,
    std::shared_ptr<WakeUp> consumers, const PortalFraming& framing, MediaTime minimumFrameInterval,
    PortalPointerTrack pointer);

} // namespace glimto
