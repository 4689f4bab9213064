#include "Platform/StillCapture.h"

#include <cstring>

namespace glimto {

PixelBuffer StillImage::pixels() const
{
    return {.width = width, .height = height, .bytesPerRow = bytesPerRow, .bytes = bytes, .storage = storage};
}

StillImage StillImage::copyOf(const PixelBuffer& pixels)
{
    StillImage image;
    image.width = pixels.width;
    image.height = pixels.height;
    image.bytesPerRow = 4 * static_cast<std::size_t>(pixels.width);
    const auto rows = static_cast<std::size_t>(pixels.height);
    // The bytes are not cleared before the picture is copied there.
    const std::shared_ptr<std::uint8_t[]> bytes(new std::uint8_t[image.bytesPerRow * rows]);
    for (std::size_t row = 0; row < rows; ++row)
        std::memcpy(bytes.get() + row * image.bytesPerRow, pixels.bytes + row * pixels.bytesPerRow,
            image.bytesPerRow);
    image.bytes = bytes.get();
    image.storage = bytes;
    return image;
}

} // namespace glimto
