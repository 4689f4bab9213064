#include "Backends/Wayland/WaylandCopyConstraints.h"

#include <algorithm>
#include <utility>

#include "Platform/PixelBuffer.h"

namespace glimto {

namespace {

// A compositor that names more has not understood what it is for.
constexpr std::size_t mostFormats = 1024;

// Rows without padding, but for pixels that would not begin at words.
std::uint32_t shortestRow(std::uint32_t width, PixelFormat format)
{
    constexpr std::uint64_t word = 4;
    const std::uint64_t bytes = std::uint64_t{width} * layoutOf(format).bytesPerPixel;
    return static_cast<std::uint32_t>(std::min<std::uint64_t>((bytes + word - 1) / word * word, UINT32_MAX));
}

// Lower is better: nothing has to be converted, nothing is lost, something is lost.
int cost(PixelFormat format)
{
    if (servesAs(format, PixelFormat::xrgb8888))
        return 0;
    const PixelLayout layout = layoutOf(format);
    return layout.red.bits >= 8 ? 1 : 2;
}

} // namespace

void WaylandCopyConstraints::tellSize(std::uint32_t width, std::uint32_t height)
{
    width_ = width;
    height_ = height;
}

void WaylandCopyConstraints::tellFormat(std::uint32_t format)
{
    if (formats_.size() < mostFormats)
        formats_.push_back(format);
}

void WaylandCopyConstraints::tellDone()
{
    best_.reset();
    std::optional<PixelFormat> bestPixels;
    for (const std::uint32_t format : std::exchange(formats_, {})) {
        WaylandPictureFormat offered = {.format = format, .width = width_, .height = height_};
        const auto pixels = offered.pixelFormat();
        if (!pixels || (bestPixels && cost(*bestPixels) <= cost(*pixels)))
            continue;
        offered.bytesPerRow = shortestRow(width_, *pixels);
        bestPixels = pixels;
        best_ = offered;
    }
    areKnown_ = true;
}

} // namespace glimto
