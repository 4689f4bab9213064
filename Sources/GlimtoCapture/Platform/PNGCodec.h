#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

#include "Platform/PixelBuffer.h"

namespace glimto {

// PNG (ISO/IEC 15948) in memory. Safe to use from any thread.
class PNGCodec {
public:
    // What declares itself larger is refused before memory is taken.
    static constexpr int largestDecodedSide = 32'768; // pixels
    static constexpr std::size_t mostDecodedPixels = 150'000'000;

    virtual ~PNGCodec() = default;

    // The whole picture, 8 bits a channel, RGB without alpha. Throws PlatformError when the picture cannot be
    // encoded.
    virtual std::vector<std::byte> encode(const PixelBuffer& pixels) = 0;

    // The picture in xrgb8888, blended over white where it is transparent. Null when the bytes are no PNG,
    // are cut off or damaged, or declare too large a picture. Does not throw.
    virtual std::shared_ptr<const PixelBuffer> decode(std::span<const std::byte> data) = 0;
};

} // namespace glimto
