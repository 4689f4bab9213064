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

X11EventPlace X11PointerDevice::place(std::span<const X11AxisValue> values, int width, int height) const
{
    const auto along = [&](int index, int extent) -> std::optional<double> {
        const auto& axis = placeAxes[static_cast<std::size_t>(index)];
        const auto* found = find(values, index);
        return axis && found ? std::optional(onScreen(*axis, found->value, extent)) : std::nullopt;
    };
    return {along(0, width), along(1, height)};
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
