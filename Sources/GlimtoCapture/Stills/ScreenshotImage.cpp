#include "Stills/ScreenshotImage.h"

#include "Stills/ScreenshotFailure.h"
#include "Support/Errors.h"

namespace glimto {

PixelCanvas imageOfFrame(const PixelBuffer& pixels)
{
    if (pixels.width < 1 || pixels.height < 1)
        throw screenshotError(
            ScreenshotFailure::emptyFrame, "ScreenCaptureKit returned an empty screenshot frame.");
    const std::size_t rowLength
        = layoutOf(pixels.format).bytesPerPixel * static_cast<std::size_t>(pixels.width);
    if (!pixels.bytes || pixels.bytesPerRow < rowLength)
        throw screenshotError(
            ScreenshotFailure::notRendered, "Core Image could not render the screenshot frame.");
    return copyOf(pixels, PixelFormat::xrgb8888);
}

PixelCanvas croppedImage(const PixelCanvas& image, const PixelRect& rect)
{
    if (intersection(rect, image.rect()).isEmpty())
        throw CLIError("Could not crop the screenshot to the selected region.");
    return image.part(rect);
}

} // namespace glimto
