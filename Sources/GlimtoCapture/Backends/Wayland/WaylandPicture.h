#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "Backends/Wayland/WaylandBuffer.h"
#include "Platform/Geometry.h"
#include "Platform/VideoFrame.h"

namespace glimto {

// What lies between the compositor's picture and a frame.
struct WaylandPictureChange {
    std::int32_t transform = 0; // wl_output_transform of the display
    bool isUpsideDown = false; // rows from bottom to top
    std::optional<PixelRect> crop; // of the upright picture, in its pixels; all when absent
    int width = 0; // pixels of the frame
    int height = 0;

    // The part of a picture of this format that is the frame as it stands; nothing when it has to be made.
    std::optional<PixelRect> unchangedPart(const WaylandPictureFormat& format) const;
};

// The frame's picture in memory of its own. Scaled to fit with its aspect ratio kept where the sizes differ,
// on black. `format` is usable. Throws PlatformError when there is no memory.
std::shared_ptr<const PixelBuffer> changedWaylandPicture(
    const std::uint8_t* bytes, const WaylandPictureFormat& format, const WaylandPictureChange& change);

} // namespace glimto
