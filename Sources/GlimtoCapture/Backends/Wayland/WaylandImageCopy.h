#pragma once

#include "Backends/Wayland/WaylandConnection.h"
#include "Backends/Wayland/WaylandCopy.h"
#include "Backends/Wayland/WaylandCopyConstraints.h"

namespace glimto {

// Copies of a display or a window by ext-image-copy-capture.
class WaylandImageCopySource final : public WaylandCopySource {
public:
    // A session with `source`. The connection offers the protocol and outlives the object.
    WaylandImageCopySource(
        WaylandConnection& connection, WaylandHandle<ext_image_capture_source_v1> source, bool showsCursor);

    std::unique_ptr<WaylandCopy> makeCopy(wl_output* output) override;
    bool hasEnded() const override { return hasEnded_; }

    // Told by events as the connection handles them.
    const WaylandCopyConstraints& constraints() const { return constraints_; }

private:
    class Copy;

    WaylandHandle<ext_image_capture_source_v1> source_;
    WaylandHandle<ext_image_copy_capture_session_v1> session_;
    WaylandCopyConstraints constraints_;
    bool hasEnded_ = false;
};

} // namespace glimto
