#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/PNGCodec.h"
#include "Support/Errors.h"

namespace glimto {

// "Encodes" a picture as the signature of PNG files and its size in text; decodes everything that ends with
// "whole" or that it has encoded itself.
class FakePNGCodec final : public PNGCodec {
public:
    bool fails = false;
    std::function<void()> beforeEncoding;

    int encodedPictures = 0;
    int width = 0; // of the last picture encoded
    int height = 0;
    std::vector<std::uint8_t> pixels; // its bytes, without what lies beside it
    int decodedPictures = 0;

    std::vector<std::byte> encode(const PixelBuffer& picture) override
    {
        if (beforeEncoding)
            beforeEncoding();
        if (fails)
            throw PlatformError("Fake", 7, "the picture cannot be encoded");
        ++encodedPictures;
        width = picture.width;
        height = picture.height;
        pixels.clear();
        for (int row = 0; row < height; ++row) {
            const auto* begin = picture.bytes + static_cast<std::size_t>(row) * picture.bytesPerRow;
            pixels.insert(pixels.end(), begin, begin + 4 * static_cast<std::size_t>(width));
        }
        const std::string text
            = "\x89PNG\r\n\x1A\n" + std::to_string(width) + "x" + std::to_string(height) + " whole";
        const auto* bytes = reinterpret_cast<const std::byte*>(text.data());
        return {bytes, bytes + text.size()};
    }

    std::shared_ptr<const PixelBuffer> decode(std::span<const std::byte> data) override
    {
        const std::string_view text(reinterpret_cast<const char*>(data.data()), data.size());
        if (!text.ends_with("whole"))
            return nullptr;
        ++decodedPictures;
        return std::make_shared<const PixelBuffer>();
    }
};

} // namespace glimto
