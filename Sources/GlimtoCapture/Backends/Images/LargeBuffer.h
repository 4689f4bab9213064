#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

namespace glimto {

struct LargeBufferDeleter {
    void operator()(std::uint8_t* bytes) const noexcept { std::free(bytes); }
};
using LargeBuffer = std::unique_ptr<std::uint8_t[], LargeBufferDeleter>;

// Memory for a whole picture, not initialized. Throws std::bad_alloc.
//
// The first touch of each page of new memory costs as much as compressing what it holds takes on flat
// pictures, so the system is asked for large pages.
LargeBuffer makeLargeBuffer(std::size_t size);

} // namespace glimto
