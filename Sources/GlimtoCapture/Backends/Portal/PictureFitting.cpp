#include "Backends/Portal/PictureFitting.h"

#include <algorithm>
#include <atomic>
#include <cmath>

#include "Backends/Streams/PictureScaling.h"

namespace glimto {

namespace {

constexpr std::size_t bytesPerPixel = 4;

} // namespace

PixelRect placedRect(const PixelRect& rect, const PixelRect& part, const PixelRect& place)
{
    const PixelRect seen = intersection(rect, part);
    if (seen.isEmpty())
        return {};
    if (place.width == part.width && place.height == part.height)
        return {seen.x - part.x + place.x, seen.y - part.y + place.y, seen.width, seen.height};
    const double scaleX = static_cast<double>(place.width) / part.width;
    const double scaleY = static_cast<double>(place.height) / part.height;
    // A scaled pixel takes from its neighbours as well.
    const int left = static_cast<int>(std::floor((seen.x - part.x - 1) * scaleX)) - 1;
    const int top = static_cast<int>(std::floor((seen.y - part.y - 1) * scaleY)) - 1;
    const int right = static_cast<int>(std::ceil((seen.x - part.x + seen.width + 1) * scaleX)) + 1;
    const int bottom = static_cast<int>(std::ceil((seen.y - part.y + seen.height + 1) * scaleY)) + 1;
    return intersection(place, {place.x + left, place.y + top, right - left, bottom - top});
}

PictureFitting::PictureFitting(int frameWidth, int frameHeight, std::size_t mostFrames)
    : width_(frameWidth)
    , height_(frameHeight)
    , mostFrames_(mostFrames)
{
}

std::shared_ptr<const FramePicture> PictureFitting::frameOf(const PixelBuffer& pixels)
{
    const PixelRect place = aspectFitRect({pixels.width, pixels.height}, {width_, height_});
    const auto frame = unusedFrame();
    if (!frame)
        return nullptr;
    if (frame->place != place) {
        std::ranges::fill(frame->bytes, std::uint8_t{0});
        frame->place = place;
    }
    const PixelCanvas whole = {width_, height_, bytesPerPixel * static_cast<std::size_t>(width_),
        frame->bytes.data(), frame, pixels.format};
    scalePixels(pixels, whole.part(place));
    return std::make_shared<const MemoryPicture>(whole);
}

std::shared_ptr<PictureFitting::Frame> PictureFitting::unusedFrame()
{
    for (const auto& frame : frames_) {
        if (frame.use_count() == 1) {
            // What consumers read of the picture happens before it is drawn over.
            std::atomic_thread_fence(std::memory_order_acquire);
            return frame;
        }
    }
    if (frames_.size() >= mostFrames_)
        return nullptr;
    auto frame = std::make_shared<Frame>();
    frame->bytes.resize(bytesPerPixel * static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_));
    frames_.push_back(frame);
    return frame;
}

} // namespace glimto
