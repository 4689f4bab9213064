#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "Platform/PNGCodec.h"
#include "Platform/VideoFrame.h"

namespace glimto {

// A picture that tests draw text into.
class DrawnText {
public:
    struct Color {
        double red = 0;
        double green = 0;
        double blue = 0;
    };

    DrawnText(int width, int height, Color background);
    ~DrawnText();

    // `size` is in pixels, the position is the text's top left.
    void text(int x, int y, const std::string& words, double size, Color color,
        const std::string& font = "DejaVu Sans");
    void rectangle(int x, int y, int width, int height, Color color);

    std::shared_ptr<const PixelBuffer> pixels() const;

private:
    struct Surface;
    std::unique_ptr<Surface> surface_;
};

// Decodes everything that begins like a PNG to the one picture that a test gives it, or to none.
class OnePicturePNGCodec final : public PNGCodec {
public:
    explicit OnePicturePNGCodec(std::shared_ptr<const PixelBuffer> picture);

    // What a PNG of that size begins with.
    static std::string header(std::uint32_t width, std::uint32_t height);

    std::vector<std::byte> encode(const PixelBuffer& pixels) override;
    std::shared_ptr<const PixelBuffer> decode(std::span<const std::byte> data) override;

    int decodings = 0;

private:
    std::shared_ptr<const PixelBuffer> picture_;
};

} // namespace glimto
