#pragma once

#include <new>

#include <leptonica/allheaders.h>

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

} // namespace glimto
