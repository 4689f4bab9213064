#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "Backends/Wayland/WaylandBuffer.h"
#include "Backends/Wayland/WaylandConnection.h"
#include "Platform/Geometry.h"

namespace glimto {

// What of an output is copied: all of it, or a part in whole points from its top left.
struct WaylandCopyArea {
    wl_output* output = nullptr;
    std::optional<PixelRect> part;
    bool showsCursor = false;
};

// One copy of a display's picture: asked for when made, and told by events as the connection handles them.
class WaylandCopy {
public:
    WaylandCopy(WaylandConnection& connection, const WaylandCopyArea& area);

    // Once the compositor has told what it wants to copy into: start() may be called.
    const std::optional<WaylandPictureFormat>& format() const { return format_; }

    // At once, or when something has changed since the last copy that this connection had of the output.
    enum class When { now, onceChanged };
    void start(WaylandBuffer& buffer, When when);
    bool isStarted() const { return isStarted_; }

    bool isReady() const { return isReady_; }
    bool hasFailed() const { return hasFailed_; }
    // The compositor offers no memory that a program could read.
    bool isUnusable() const { return isUnusable_; }

    // When the picture was shown, nanoseconds of the compositor's clock; rows run from bottom to top; and
    // what of the picture has changed, in pixels of the display before it is turned: null where that is not
    // told. Once it is ready.
    std::int64_t time() const { return time_; }
    bool isUpsideDown() const { return isUpsideDown_; }
    const std::vector<PixelRect>* damage() const;

private:
    void listen();
    void isOffered(const WaylandPictureFormat& format);
    void didChange(std::uint32_t x, std::uint32_t y, std::uint32_t width, std::uint32_t height);

    WaylandHandle<zwlr_screencopy_frame_v1> frame_;
    std::uint32_t version_;
    std::optional<WaylandPictureFormat> offered_; // of shared memory; more kinds may be told after it
    std::optional<WaylandPictureFormat> format_;
    bool isStarted_ = false;
    bool isReady_ = false;
    bool hasFailed_ = false;
    bool isUnusable_ = false;
    bool isUpsideDown_ = false;
    std::int64_t time_ = 0;
    std::vector<PixelRect> damage_;
    bool hasUnknownDamage_ = false;
};

} // namespace glimto
