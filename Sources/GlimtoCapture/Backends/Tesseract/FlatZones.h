#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "Backends/Tesseract/GrayPicture.h"
#include "Platform/Geometry.h"

namespace glimto {

// A surface that text may stand on: a window, a list, a button.
struct FlatZone {
    PixelRect bounds;
    std::int64_t area = 0; // pixels of the surface itself, without what stands on it
    std::uint8_t gray = 0; // of its first pixel
};

// The surfaces of a picture of a screen, and which of them each pixel lies on.
//
// A surface is what hardly changes from pixel to pixel, and is either large or a rectangle with something on
// it; so the strokes of large letters are none.
struct FlatZones {
    std::vector<FlatZone> zones;
    std::vector<std::int32_t> zoneOfPixel; // index into `zones` of the nearest surface
    std::vector<std::uint8_t> background; // gray value of the nearest surface at each pixel
};

// Absent when less than a fifth of the picture is flat: a photograph, a scanned page.
std::optional<FlatZones> findFlatZones(const GrayPicture& picture);

} // namespace glimto
