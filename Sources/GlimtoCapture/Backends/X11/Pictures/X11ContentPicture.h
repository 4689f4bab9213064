#pragma once

#include <memory>
#include <optional>

#include "Backends/X11/Pictures/X11PictureSource.h"
#include "Platform/CaptureStream.h"
#include "Platform/ContentFilter.h"

namespace glimto {

// Where the pictures of a content filter are taken from. startPictureExtensions() comes before. Throws
// PlatformError when the content is gone or cannot be captured.
std::unique_ptr<X11PictureSource> makeX11PictureSource(
    X11Connection& connection, const ContentFilter& filter, const CaptureStreamConfiguration& configuration);

// One window without its decoration and shadow, wherever it is and whatever covers it.
//
// While the window is minimised its last contents stay. A window that has not been shown yet is black. Throws
// sourceGone when there is no such window.
std::unique_ptr<X11PictureSource> makeX11WindowPicture(X11Connection& connection, xcb_window_t window);

// A display as it would look without the windows of some applications.
//
// While none of these windows is shown, this is the plain screen; each picture of it is looked at afterwards,
// and rejected when one of them had come meanwhile. While one is shown, and for a while after, nothing is
// taken from the screen: the picture is composed by the server from the windows that remain, so that no
// place, animation or shadow of the others can be in it. For that, the server keeps every window's contents
// in memory of its own.
//
// Throws as X11DisplayPicture does, and missingExtension when something is to be hidden now and the server
// cannot compose. When that comes later, there is no picture as long as it lasts.
std::unique_ptr<X11PictureSource> makeX11ComposedPicture(X11Connection& connection,
    const DisplayContentFilter& filter, std::optional<Rect> sourceRect, PixelSize output);

} // namespace glimto
