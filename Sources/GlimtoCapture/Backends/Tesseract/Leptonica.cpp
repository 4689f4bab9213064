#include "Backends/Tesseract/Leptonica.h"

#include <new>

#include <leptonica/allheaders.h>

namespace glimto {

void LeptonicaDeleter::operator()(Pix* picture) const noexcept
{
    pixDestroy(&picture);
}

void LeptonicaDeleter::operator()(Boxa* boxes) const noexcept
{
    boxaDestroy(&boxes);
}

PixHandle owned(Pix* picture)
{
    if (!picture)
        throw std::bad_alloc();
    return PixHandle(picture);
}

} // namespace glimto
