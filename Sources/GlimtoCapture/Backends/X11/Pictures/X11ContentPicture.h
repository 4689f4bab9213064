#pragma once

#include <memory>

#include "Backends/X11/Pictures/X11PictureSource.h"
#include "Platform/CaptureStream.h"
#include "Platform/ContentFilter.h"

namespace glimto {

// Where the pictures of a content filter are taken from. startPictureExtensions() comes before. Throws
// PlatformError when the content is gone or cannot be captured.
std::unique_ptr<X11PictureSource> makeX11PictureSource(
    X11Connection& connection, const ContentFilter& filter, const CaptureStreamConfiguration& configuration);

} // namespace glimto
