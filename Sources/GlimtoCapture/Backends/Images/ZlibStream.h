#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <vector>

namespace glimto {

// A part of a zlib stream.
struct StreamPiece {
    std::unique_ptr<std::uint8_t[]> bytes;
    std::size_t size = 0;

    operator std::span<const std::uint8_t>() const { return {bytes.get(), size}; }
};

// The rows of a picture, which are compressed.
struct RowData {
    std::span<const std::uint8_t> bytes; // a whole number of rows
    std::size_t rowSize = 1; // bytes

    // Writes the rows from `first` to before `end` into the bytes, before these are compressed. May be null.
    // Any thread, and several at once for rows of their own.
    std::function<void(std::size_t first, std::size_t end)> fill = nullptr;
};

// Compresses them into a zlib stream (RFC 1950), which is all pieces one after another.
//
// Much data is divided among as many threads as there are processors, at most four, as somebody waits for it.
// What hardly ever repeats, as photos, noise and films, is only given shorter codes, without looking for what
// repeats: that takes half of the time, and makes less of it.
//
// Throws PlatformError (domain "PNG"), std::bad_alloc.
std::vector<StreamPiece> zlibStream(const RowData& rows);

// The same in so many pieces; at least 1.
std::vector<StreamPiece> zlibStream(const RowData& rows, std::size_t pieceCount);

} // namespace glimto
