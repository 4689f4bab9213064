#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "Platform/PixelFormat.h"

namespace glimto {

// How a compositor's picture lies in memory. The numbers are the compositor's, so nothing is taken for
// granted before isUsable() said yes.
struct WaylandPictureFormat {
    std::uint32_t format = 0; // wl_shm_format
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t bytesPerRow = 0;

    // Whether pixels of this format are known here, rows hold their pixels, and no side is larger than any
    // display.
    bool isUsable() const;

    // Absent when it is not known here.
    std::optional<PixelFormat> pixelFormat() const;

    std::size_t size() const { return static_cast<std::size_t>(bytesPerRow) * height; }
    friend bool operator==(const WaylandPictureFormat&, const WaylandPictureFormat&) = default;
};

} // namespace glimto
