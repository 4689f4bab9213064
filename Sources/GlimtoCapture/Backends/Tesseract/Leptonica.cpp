#include "Backends/Tesseract/Leptonica.h"

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

} // namespace glimto
