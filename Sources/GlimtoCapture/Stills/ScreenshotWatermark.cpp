#include "Stills/ScreenshotWatermark.h"

#include <algorithm>
#include <cmath>

#include "Options/ScreenshotOptions.h"
#include "Support/Errors.h"

namespace glimto {

namespace {

constexpr double smallestFontSize = 14; // pixels
constexpr double largestFontSize = 32;

constexpr TextStyle style = {.gray = 1.0,
    .alpha = 0.9,
    .shadowOffsetX = 0,
    .shadowOffsetY = 1,
    .shadowBlur = 1,
    .shadowGray = 0,
    .shadowAlpha = 0.65};

} // namespace

ScreenshotWatermark::ScreenshotWatermark(const Service<TextDrawing>& textDrawing)
    : textDrawing_(textDrawing)
{
}

double ScreenshotWatermark::fontSize(int width, int height)
{
    return std::clamp(std::round(std::min(width, height) * 0.018), smallestFontSize, largestFontSize);
}

double ScreenshotWatermark::margin(double fontSize)
{
    return std::round(fontSize * 0.75);
}

void ScreenshotWatermark::prepare(int width, int height) noexcept
{
    try {
        line(fontSize(width, height));
    } catch (...) {
        // apply() will find out the same.
    }
}

void ScreenshotWatermark::apply(PixelCanvas& image) noexcept
{
    if (image.width < 1 || image.height < 1)
        return;
    try {
        draw(image);
    } catch (...) {
        // The picture is only touched once all has gone well.
    }
}

TextLine* ScreenshotWatermark::line(double fontSize)
{
    if (lineFontSize_ == fontSize)
        return line_.get();
    lineFontSize_ = fontSize;
    try {
        line_ = textDrawing_.get().makeLine(watermarkText,
            {.family = TextFont::Family::systemUI, .weight = TextFont::Weight::medium, .size = fontSize});
    } catch (const PlatformError&) {
        line_ = nullptr; // no fonts, or nothing that draws them
    }
    return line_.get();
}

// The text is drawn into a copy of the corner that it lies in, so that a failure leaves the picture whole and
// most of it need not be copied.
void ScreenshotWatermark::draw(PixelCanvas& image)
{
    const double size = fontSize(image.width, image.height);
    TextLine* text = line(size);
    if (!text)
        return;
    const double space = margin(size);
    const double width = image.width;
    const double height = image.height;
    const bool isTooWide = 2 * space + text->width() > width / 2;
    const bool isTooHigh = 2 * space + text->ascent() + text->descent() > height / 3;
    if (isTooWide || isTooHigh)
        return;
    const double x = std::round(width - space - text->width());
    const double baseline = height - std::round(space + text->descent());

    // Shadow and letters reach out of the typographic bounds by less than the size of the font.
    const int left = std::max(0, static_cast<int>(std::floor(x - size)));
    const int top = std::max(0, static_cast<int>(std::floor(baseline - text->ascent() - size)));
    const PixelCanvas corner = image.part({left, top, image.width - left, image.height - top});
    const PixelCanvas drawn = copyOf(corner, corner.format);
    if (text->draw(drawn, x - left, baseline - top, style))
        convertPixels(drawn, corner);
}

} // namespace glimto
