#pragma once

#include "Backends/Portal/PortalAnswers.h"
#include "Backends/Portal/PortalPictures.h"
#include "Platform/CaptureOpening.h"

namespace glimto {

// What a capture of a shared stream shows, and how it is cut out of it.
struct PortalCut {
    CaptureFacts facts;
    PortalFraming framing;
    Rect sharedFrame; // all that is shared, in global display points
};

// `stream` is what the user picked for `request`, whose pictures are `pictureWidth` x `pictureHeight` pixels.
//
// A screen is captured in the size of its points, a window in its pixels, and a region in the size that was
// asked for. Throws PlatformError regionElsewhere when the region does not lie on the screen that was picked.
PortalCut portalCut(
    const CaptureRequest& request, const PortalStream& stream, int pictureWidth, int pictureHeight);

} // namespace glimto
