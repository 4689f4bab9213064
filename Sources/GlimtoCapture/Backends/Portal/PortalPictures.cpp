#include "Backends/Portal/PortalPictures.h"

#include <algorithm>
#include <cmath>

#include "Backends/Streams/PictureScaling.h"

namespace glimto {

PortalPictures::PortalPictures(PipeWireScreen& screen, const PortalFraming& framing)
    : screen_(screen)
    , framing_(framing)
    , fitting_(framing.width, framing.height, static_cast<std::size_t>(std::max(1, framing.queueDepth)) + 2)
{
}

bool PortalPictures::take()
{
    const ArrivedPicture* arrived = screen_.arrived();
    if (!arrived)
        return false;
    const PixelRect part = shownPart(arrived->part);
    if (part.isEmpty()) {
        screen_.finish();
        return false;
    }
    const PixelRect place = aspectFitRect({part.width, part.height}, {framing_.width, framing_.height});
    setChanges(*arrived, part, place);
    if (changedRects_.empty()) {
        screen_.finish();
        return false;
    }
    time_ = arrived->time;
    std::shared_ptr<const FramePicture> picture;
    if (part.width == framing_.width && part.height == framing_.height)
        picture = screen_.lend(part);
    if (!picture) {
        picture = fitting_.frameOf(arrived->pixels.part(part));
        if (!picture)
            return false;
        screen_.finish();
    }
    picture_ = std::move(picture);
    part_ = part;
    return true;
}

PixelRect PortalPictures::shownPart(const PixelRect& whole) const
{
    if (!framing_.part)
        return whole;
    const Rect& part = *framing_.part;
    const int left = static_cast<int>(std::lround(part.x * whole.width));
    const int top = static_cast<int>(std::lround(part.y * whole.height));
    const int width = std::max(1, static_cast<int>(std::lround(part.width * whole.width)));
    const int height = std::max(1, static_cast<int>(std::lround(part.height * whole.height)));
    return intersection(whole, {whole.x + left, whole.y + top, width, height});
}

void PortalPictures::setChanges(const ArrivedPicture& arrived, const PixelRect& part, const PixelRect& place)
{
    changedRects_.clear();
    if (!picture_ || part != part_) {
        changedRects_ = {{0, 0, framing_.width, framing_.height}};
        return;
    }
    for (const PixelRect& rect : arrived.changedRects) {
        if (const PixelRect seen = placedRect(rect, part, place); !seen.isEmpty())
            changedRects_.push_back(seen);
    }
}

} // namespace glimto
