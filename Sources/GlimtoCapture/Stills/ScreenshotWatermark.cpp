#include "Stills/ScreenshotWatermark.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "Options/ScreenshotOptions.h"
#include "Support/Errors.h"

namespace glimto {

namespace {

constexpr double smallestFontSize = 14; // pixels
constexpr double largestFontSize = 32;

constexpr double white = 1;
constexpr double textAlpha = 0.9;
constexpr double black = 0;
constexpr double shadowAlpha = 0.65;
constexpr int shadowOffset = 1; // pixels down
constexpr double shadowBlur = 1; // radius in pixels

} // namespace

ScreenshotWatermark::ScreenshotWatermark(const Service<TextDrawing>& textDrawing, WatermarkCache cache)
    : textDrawing_(textDrawing)
    , cache_(std::move(cache))
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

const std::optional<TextLine>& ScreenshotWatermark::line(double fontSize)
{
    if (lineFontSize_ == fontSize)
        return line_;
    lineFontSize_ = fontSize;
    line_ = cache_.find(fontSize);
    if (line_)
        return line_;
    try {
        line_ = textDrawing_.get().setLine(watermarkText,
            {.family = TextFont::Family::systemUI, .weight = TextFont::Weight::medium, .size = fontSize});
    } catch (const PlatformError&) {
        // Nothing that draws text is installed.
    }
    if (line_)
        cache_.keep(fontSize, *line_);
    return line_;
}

void ScreenshotWatermark::draw(PixelCanvas& image)
{
    const double size = fontSize(image.width, image.height);
    const auto& text = line(size);
    if (!text)
        return;
    const double space = margin(size);
    const double width = image.width;
    const double height = image.height;
    const bool isTooWide = 2 * space + text->width > width / 2;
    const bool isTooHigh = 2 * space + text->ascent + text->descent > height / 3;
    if (isTooWide || isTooHigh)
        return;
    const int x = static_cast<int>(std::round(width - space - text->width));
    const int baseline = image.height - static_cast<int>(std::round(space + text->descent));
    const CoverageMask letters = text->coverage.moved(x, baseline);
    const CoverageMask shadow = letters.moved(0, shadowOffset).blurred(shadowBlur);
    shadow.paint(image, black, shadowAlpha);
    letters.paint(image, white, textAlpha);
}

} // namespace glimto
