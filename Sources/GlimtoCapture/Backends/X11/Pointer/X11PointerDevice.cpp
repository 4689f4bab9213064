#include "Backends/X11/Pointer/X11PointerDevice.h"

#include <algorithm>

namespace glimto {

namespace {

const X11AxisValue* find(std::span<const X11AxisValue> values, int axis)
{
    const auto found = std::ranges::find(values, axis, &X11AxisValue::axis);
    return found == values.end() ? nullptr : &*found;
}

// The server spreads the whole range over the whole root.
double onScreen(const X11PointerDevice::PlaceAxis& axis, double value, int extent)
{
    if (axis.maximum <= axis.minimum)
        return value;
    return (value - axis.minimum) * extent / (axis.maximum - axis.minimum + 1);
}

} // namespace

X11Motion X11PointerDevice::motion(std::span<const X11AxisValue> values, int width, int height) const
{
    const std::array<int, 2> extents = {width, height};
    std::array<std::optional<double>, 2> place;
    X11Motion motion;
    for (std::size_t index = 0; index < place.size(); ++index) {
        const auto& axis = placeAxes[index];
        const auto* found = find(values, static_cast<int>(index));
        if (!axis || !found)
            continue;
        place[index] = axis->isAbsolute ? onScreen(*axis, found->value, extents[index]) : found->value;
        motion.kind = axis->isAbsolute ? X11Motion::Kind::absolute : X11Motion::Kind::relative;
    }
    if (belongsToTestClients && motion.kind == X11Motion::Kind::relative)
        motion.kind = X11Motion::Kind::either;
    motion.x = place[0];
    motion.y = place[1];
    return motion;
}

X11ScrollLines X11PointerDevice::scrollLines(std::span<const X11AxisValue> values) const
{
    X11ScrollLines lines;
    for (const auto& scroll : scrollAxes) {
        const auto* found = find(values, scroll.axis);
        if (!found || scroll.increment == 0)
            continue;
        const bool isVertical = scroll.direction == ScrollAxis::Direction::vertical;
        (isVertical ? lines.y : lines.x) -= found->value / scroll.increment;
    }
    return lines;
}

std::uint32_t X11PointerDevice::logicalButton(std::uint32_t button) const
{
    return button > 0 && button <= buttonMap.size() ? buttonMap[button - 1] : button;
}

X11ScrollLines x11WheelLines(std::uint32_t button)
{
    switch (button) {
    case 4:
        return {.y = 1, .x = 0};
    case 5:
        return {.y = -1, .x = 0};
    case 6:
        return {.y = 0, .x = 1};
    case 7:
        return {.y = 0, .x = -1};
    default:
        return {};
    }
}

} // namespace glimto
