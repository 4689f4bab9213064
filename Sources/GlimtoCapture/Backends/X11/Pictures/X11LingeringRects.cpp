#include "Backends/X11/Pictures/X11LingeringRects.h"

#include <algorithm>
#include <utility>

namespace glimto {

std::vector<PixelRect> X11LingeringRects::update(
    std::vector<PixelRect> current, TimePoint now, std::chrono::milliseconds duration)
{
    std::erase_if(lingering_, [&](const Lingering& each) { return each.until <= now; });
    for (const PixelRect& rect : current_) {
        const bool isStillThere = std::find(current.begin(), current.end(), rect) != current.end();
        if (!isStillThere && duration.count() > 0)
            lingering_.push_back({rect, now + duration});
    }
    current_ = std::move(current);
    auto all = current_;
    for (const Lingering& each : lingering_)
        all.push_back(each.rect);
    return all;
}

bool X11LingeringRects::hasExpired(TimePoint now) const
{
    return std::any_of(
        lingering_.begin(), lingering_.end(), [&](const Lingering& each) { return each.until <= now; });
}

} // namespace glimto
