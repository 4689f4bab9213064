#include "Backends/Wayland/WaylandCopy.h"

#include <algorithm>

namespace glimto {

namespace {

// More rectangles than these are not worth telling apart.
constexpr std::size_t mostRects = 256;
constexpr std::int64_t farthestPixel = 32767;

} // namespace

void WaylandCopy::start(WaylandBuffer& buffer, When when)
{
    isStarted_ = true;
    begin(buffer, when);
}

void WaylandCopy::didTellTime(std::uint32_t secondsHigh, std::uint32_t secondsLow, std::uint32_t nanoseconds)
{
    // Seconds that need more than 32 bits are no clock's.
    time_ = HostTime();
    if (secondsHigh == 0)
        time_ += std::chrono::seconds(secondsLow) + std::chrono::nanoseconds(nanoseconds);
}

void WaylandCopy::didTellTransform(std::uint32_t transform)
{
    if (transform <= WL_OUTPUT_TRANSFORM_FLIPPED_270)
        transform_ = static_cast<std::int32_t>(transform);
    else
        hasFailed_ = true;
}

void WaylandCopy::didChange(std::int64_t x, std::int64_t y, std::int64_t width, std::int64_t height)
{
    const auto [least, most] = std::minmax({x, y, width, height});
    if (damage_.size() >= mostRects || least < 0 || most > farthestPixel) {
        hasUnknownDamage_ = true;
        return;
    }
    damage_.push_back(
        {static_cast<int>(x), static_cast<int>(y), static_cast<int>(width), static_cast<int>(height)});
}

const std::vector<PixelRect>* WaylandCopy::damage() const
{
    return damage_.empty() || hasUnknownDamage_ ? nullptr : &damage_;
}

} // namespace glimto
