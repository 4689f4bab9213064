#include "Backends/Streams/ChangedRows.h"

#include <cstring>

namespace glimto {

PixelRect changedRows(const PixelBuffer& before, const PixelBuffer& after)
{
    if (before.format != after.format)
        return after.rect();
    const std::size_t bytes = static_cast<std::size_t>(after.width) * layoutOf(after.format).bytesPerPixel;
    const auto isSame
        = [&](int y) { return std::memcmp(before.pixelAt(0, y), after.pixelAt(0, y), bytes) == 0; };
    int top = 0;
    int bottom = after.height;
    while (top < bottom && isSame(top))
        ++top;
    while (top < bottom && isSame(bottom - 1))
        --bottom;
    return {0, top, after.width, bottom - top};
}

} // namespace glimto
