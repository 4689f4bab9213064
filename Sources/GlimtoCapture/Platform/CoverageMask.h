#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "Platform/Geometry.h"
#include "Platform/PixelBuffer.h"

namespace glimto {

// How much of each pixel of a rectangle a shape covers, 0 to 255. The rectangle may lie partly or wholly
// outside of the canvas that it is painted on.
class CoverageMask {
public:
    // One byte a pixel, rows from top to bottom.
    static CoverageMask copied(const PixelRect& rect, const std::uint8_t* bytes, std::size_t bytesPerRow);

    // The same shape elsewhere.
    CoverageMask moved(int right, int down) const;

    // Softened by a Gaussian whose standard deviation is half of `radius`, and larger by what that adds.
    CoverageMask blurred(double radius) const;

    // Mixes `gray` (0 black to 1 white) into what is there, by coverage times `alpha`. The canvas is
    // xrgb8888.
    void paint(const PixelCanvas& canvas, double gray, double alpha) const;

    const PixelRect& rect() const { return rect_; }
    std::span<const std::uint8_t> values() const { return values_; } // as above
    std::uint8_t at(int column, int row) const { return values_[index(column, row)]; }

private:
    explicit CoverageMask(const PixelRect& rect);
    std::size_t index(int column, int row) const;

    PixelRect rect_;
    std::vector<std::uint8_t> values_;
};

} // namespace glimto
