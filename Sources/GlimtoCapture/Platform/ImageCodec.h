#pragma once

#include <cstddef>
#include <vector>

#include "Platform/PixelBuffer.h"

namespace glimto {

// Encoding of still pictures. Safe to use from any thread.
class ImageCodec {
public:
    virtual ~ImageCodec() = default;

    // A baseline JPEG (ITU-T T.81) of the whole picture, in its full size. `quality` runs from 0 to 1.
    // Throws PlatformError when the picture cannot be encoded.
    virtual std::vector<std::byte> encodeJPEG(const PixelBuffer& pixels, double quality) = 0;
};

} // namespace glimto
