#include "Backends/Tesseract/Leptonica.h"

namespace glimto {

int inkIn(Pix* shape, const PixelRect& area)
{
    const BoxHandle box(boxCreate(area.x, area.y, area.width, area.height));
    l_int32 count = 0;
    pixCountPixelsInRect(shape, box.get(), &count, nullptr);
    return count;
}

InkParts::InkParts(Pix* ink)
{
    Pixa* shapes = nullptr;
    const BoxaHandle boxes(pixConnComp(ink, &shapes, 8));
    shapes_.reset(shapes);
    bounds.resize(boxes ? static_cast<std::size_t>(boxaGetCount(boxes.get())) : 0);
    for (l_int32 index = 0; auto& part : bounds)
        boxaGetBoxGeometry(boxes.get(), index++, &part.x, &part.y, &part.width, &part.height);
}

PixHandle InkParts::shape(std::size_t index) const
{
    return owned(pixaGetPix(shapes_.get(), static_cast<l_int32>(index), L_CLONE));
}

} // namespace glimto
