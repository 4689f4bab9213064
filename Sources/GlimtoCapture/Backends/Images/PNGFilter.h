#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>

#include "Platform/PixelBuffer.h"
#include "Support/Owned.h"

namespace glimto {

using LargeBuffer = Owned<std::uint8_t[], std::free>;

// Memory for a whole picture, not initialized. Throws std::bad_alloc.
//
// The first touch of each page of new memory costs as much as compressing what it holds takes on flat
// pictures, so the system is asked for large pages.
LargeBuffer makeLargeBuffer(std::size_t size);

// The number of a row's filter (ISO/IEC 15948, 9.2).
enum class PNGFilterType : std::uint8_t { none = 0, sub = 1, up = 2 };

// The rows of a picture as PNG compresses them: each is the number of its filter and its filtered RGB bytes.
struct PNGRows {
    LargeBuffer bytes;
    std::size_t rowSize = 0; // bytes
    std::size_t size = 0; // of all
};

// The filter for one row of RGB bytes: `up` for a row that repeats the one above, `none` for one that has
// hard edges and nothing smooth, as letters on one colour, else the one that leaves the smaller differences.
// `above` is the row before, or zeros.
PNGFilterType filterForRow(std::span<const std::uint8_t> row, std::span<const std::uint8_t> above);

// Memory for the rows of `pixels`, not filled.
PNGRows makeRows(const PixelBuffer& pixels);

// Fills the rows from `first` to before `end`, of those of `pixels`, which is xrgb8888. Several threads may
// fill rows of their own.
void filterRows(const PixelBuffer& pixels, std::size_t first, std::size_t end, const PNGRows& rows);

} // namespace glimto
