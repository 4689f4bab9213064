#pragma once

#include <memory>

#include "Backends/X11/Pictures/X11PictureSource.h"
#include "Platform/ContentFilter.h"

namespace glimto {

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
