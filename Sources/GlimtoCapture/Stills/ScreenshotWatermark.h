#pragma once

#include <optional>

#include "Platform/PixelBuffer.h"
#include "Platform/Service.h"
#include "Platform/TextDrawing.h"
#include "Stills/WatermarkCache.h"

namespace glimto {

// Draws the product's domain name into the bottom right corner of pictures. Used by one thread, whichever
// that is.
class ScreenshotWatermark {
public:
    // `textDrawing` outlives this object; it is asked for what `cache` does not have.
    ScreenshotWatermark(const Service<TextDrawing>& textDrawing, WatermarkCache cache);

    // Pixels, for a picture of that size; whole numbers.
    //
    // Example: 3840x2160 has a font size of 32 and a margin of 24, 100x100 one of 14 and 11.
    static double fontSize(int width, int height);
    static double margin(double fontSize);

    // Loads what a picture of that size will need, so that apply() is fast.
    void prepare(int width, int height) noexcept;

    // Draws the watermark into the picture, unless it would take more than half its width or a third of its
    // height. The picture, which is xrgb8888, stays as it is then, and also when there is no font or drawing
    // fails.
    void apply(PixelCanvas& image) noexcept;

private:
    const std::optional<TextLine>& line(double fontSize);
    void draw(PixelCanvas& image);

    const Service<TextDrawing> textDrawing_;
    const WatermarkCache cache_;
    std::optional<TextLine> line_; // in lineFontSize_; absent without a font
    double lineFontSize_ = 0;
};

} // namespace glimto
