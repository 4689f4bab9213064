#include "Backends/Images/LargeBuffer.h"

#include <new>

#include <sys/mman.h>

namespace glimto {

LargeBuffer makeLargeBuffer(std::size_t size)
{
    constexpr std::size_t largePage = std::size_t{2} << 20;
    const bool isLarge = size >= largePage;
    const std::size_t whole = (size + largePage - 1) / largePage * largePage;
    LargeBuffer buffer(
        static_cast<std::uint8_t*>(isLarge ? std::aligned_alloc(largePage, whole) : std::malloc(size)));
    if (!buffer)
        throw std::bad_alloc();
    // Only a wish: without large pages all is as it was.
    if (isLarge)
        ::madvise(buffer.get(), whole, MADV_HUGEPAGE);
    return buffer;
}

} // namespace glimto
