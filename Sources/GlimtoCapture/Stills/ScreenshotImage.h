#pragma once

#include "Platform/Geometry.h"
#include "Platform/PixelBuffer.h"

namespace glimto {

// The picture of a frame, as a copy in xrgb8888. Throws PlatformError "ScreenCaptureKit returned an empty
// screenshot frame." for one without extent, and "Core Image could not render the screenshot frame." for one
// without pixels.
PixelCanvas imageOfFrame(const PixelBuffer& pixels);

// The part of the image that `rect` covers; it shares the image's pixels. Throws CLIError "Could not crop the
// screenshot to the selected region." when it covers none.
PixelCanvas croppedImage(const PixelCanvas& image, const PixelRect& rect);

} // namespace glimto
