#include "Stills/ScreenshotImage.h"

#include "Stills/ScreenshotFailure.h"
#include "Support/Errors.h"

namespace glimto {

StillImage imageOfFrame(const PixelBuffer& pixels)
{
    if (pixels.width < 1 || pixels.height < 1)
        throw screenshotError(
            ScreenshotFailure::emptyFrame, "ScreenCaptureKit returned an empty screenshot frame.");
    if (!pixels.bytes || pixels.bytesPerRow < 4 * static_cast<std::size_t>(pixels.width))
        throw screenshotError(
            ScreenshotFailure::notRendered, "Core Image could not render the screenshot frame.");
    return StillImage::copyOf(pixels);
}

StillImage croppedImage(const StillImage& image, const PixelRect& rect)
{
    const PixelRect part = intersection(rect, PixelRect{0, 0, image.width, image.height});
    if (part.isEmpty())
        throw CLIError("Could not crop the screenshot to the selected region.");
    StillImage cropped = image;
    cropped.width = part.width;
    cropped.height = part.height;
    cropped.bytes
        += static_cast<std::size_t>(part.y) * image.bytesPerRow + 4 * static_cast<std::size_t>(part.x);
    return cropped;
}

} // namespace glimto
