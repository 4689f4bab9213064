#pragma once

#include <optional>
#include <vector>

#include "Backends/Tesseract/Leptonica.h"
#include "Platform/Geometry.h"

namespace glimto {

// A surface that text may stand on: a window, a list, a button.
struct FlatZone {
    PixelRect bounds;
    int gray = 0; // of its first pixel
};

// The surfaces of a picture of a screen.
//
// A surface is what hardly changes from pixel to pixel, and is either large or a rectangle with something on
// it; so the strokes of large letters are none.
struct FlatZones {
    std::vector<FlatZone> zones;
    PixHandle background; // 8 bits a pixel, the gray value of the nearest surface
};

// `picture` has 8 bits a pixel. Absent when less than a fifth of it is flat: a photograph, a scanned page.
std::optional<FlatZones> findFlatZones(Pix* picture);

} // namespace glimto
