#pragma once

#include "Backends/Wayland/WaylandConnection.h"
#include "Backends/Wayland/WaylandCopy.h"

namespace glimto {

// Copies of a display by wlr-screencopy.
class WaylandScreencopySource final : public WaylandCopySource {
public:
    // All of the display, or `part` of it in whole points from its top left. The connection offers the
    // protocol and outlives the object.
    WaylandScreencopySource(WaylandConnection& connection, std::optional<PixelRect> part, bool showsCursor)
        : connection_(connection)
        , part_(part)
        , showsCursor_(showsCursor)
    {
    }

    std::unique_ptr<WaylandCopy> makeCopy(wl_output* output) override;
    bool hasEnded() const override { return false; } // it goes with its display

private:
    WaylandConnection& connection_;
    std::optional<PixelRect> part_;
    bool showsCursor_;
};

} // namespace glimto
