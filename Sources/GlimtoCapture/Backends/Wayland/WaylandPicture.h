#pragma once

#include <cstdint>
#include <optional>

#include "Platform/Geometry.h"
#include "Platform/PixelBuffer.h"

namespace glimto {

// What lies between the compositor's picture and a frame.
struct WaylandPictureChange {
    std::int32_t transform = 0; // wl_output_transform of the display
    bool isUpsideDown = false; // rows from bottom to top
    std::optional<PixelRect> crop; // of the upright picture, in its pixels; all when absent
    int width = 0; // pixels of the frame
    int height = 0;

    // The part of a picture of this size that is the frame as it stands; nothing when it has to be made.
    std::optional<PixelRect> unchangedPart(int pictureWidth, int pictureHeight) const;
};

// The frame's picture in memory of its own. Scaled to fit with its aspect ratio kept where the sizes differ,
// on black. Throws PlatformError or std::bad_alloc when there is no memory.
PixelBuffer changedWaylandPicture(const PixelBuffer& picture, const WaylandPictureChange& change);

} // namespace glimto
