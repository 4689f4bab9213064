#pragma once

#include <new>
#include <vector>

#include <leptonica/allheaders.h>

#include "Platform/Geometry.h"
#include "Support/Owned.h"

namespace glimto {

using PixHandle = Owned<Pix, pixDestroy>;
using BoxHandle = Owned<Box, boxDestroy>;
using BoxaHandle = Owned<Boxa, boxaDestroy>;
using PixaHandle = Owned<Pixa, pixaDestroy>;

// What the library made. Throws std::bad_alloc for null.
inline PixHandle owned(Pix* picture)
{
    if (!picture)
        throw std::bad_alloc();
    return PixHandle(picture);
}

inline int valueAt(Pix* picture, int x, int y)
{
    l_uint32 value = 0;
    pixGetPixel(picture, x, y, &value);
    return static_cast<int>(value);
}

// How many pixels of `area` are set in `shape`, 1 bit a pixel.
int inkIn(Pix* shape, const PixelRect& area);

// What is set in a picture of 1 bit a pixel, by its parts, connected at sides or corners.
class InkParts {
public:
    explicit InkParts(Pix* ink);

    // As large as its bounds.
    PixHandle shape(std::size_t index) const;

    std::vector<PixelRect> bounds;

private:
    PixaHandle shapes_;
};

} // namespace glimto
