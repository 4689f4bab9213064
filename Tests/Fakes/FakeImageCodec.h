#pragma once

#include <atomic>
#include <functional>
#include <vector>

#include "Platform/ImageCodec.h"
#include "Support/Errors.h"

namespace glimto {

// "Encodes" a picture as the bytes `encoded`, or fails.
class FakeImageCodec final : public ImageCodec {
public:
    std::vector<std::byte> encodeJPEG(const PixelBuffer& pixels, double quality) override
    {
        width = pixels.width;
        height = pixels.height;
        lastQuality = quality;
        ++encodedPictures;
        if (beforeEncoding)
            beforeEncoding();
        if (fails)
            throw PlatformError("Fake", 7, "the picture cannot be encoded");
        return encoded;
    }

    std::vector<std::byte> encoded = {std::byte(0xFF), std::byte(0xD8), std::byte(0xFF), std::byte(0xD9)};
    bool fails = false;
    std::function<void()> beforeEncoding; // runs on the encoding thread

    std::atomic<int> encodedPictures = 0;
    int width = 0; // of the last picture
    int height = 0;
    double lastQuality = 0;
};

} // namespace glimto
