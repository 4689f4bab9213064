#pragma once

#include "Platform/ShareableContent.h"

namespace glimto {

// The displays and windows of the X display that DISPLAY names, fetched on a new connection each time.
//
// Displays are RandR monitors. Windows are the clients of the window manager and the mapped windows
// that pass by it; `windowID` is the X id. Their number does not change the number of round trips.
class X11ShareableContentProvider final : public ShareableContentProvider {
public:
    ShareableContent fetch(const ContentQuery& query) override;
};

} // namespace glimto
