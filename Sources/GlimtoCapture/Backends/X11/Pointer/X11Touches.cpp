#include "Backends/X11/Pointer/X11Touches.h"

#include <cmath>

namespace glimto {

using Kind = X11RawAddition::Kind;

X11RawAddition X11Touches::follow(Screen& screen, const Touch& touch, Kind kind)
{
    screen.place
        = {std::floor(touch.x.value_or(screen.place.x)), std::floor(touch.y.value_or(screen.place.y))};
    X11RawAddition addition;
    addition.kind = kind;
    addition.stamp = touch.stamp;
    addition.location = screen.place;
    return addition;
}

std::optional<X11RawAddition> X11Touches::begin(const Touch& touch)
{
    Screen& screen = screens_[touch.device];
    const bool isFirst = screen.touches.empty();
    screen.touches.insert(touch.id);
    if (!isFirst)
        return std::nullopt;
    screen.pointing = touch.id;
    return follow(screen, touch, Kind::touchBegin);
}

std::optional<X11RawAddition> X11Touches::move(const Touch& touch)
{
    Screen& screen = screens_[touch.device];
    if (screen.pointing != touch.id)
        return std::nullopt;
    return follow(screen, touch, Kind::touchMove);
}

std::optional<X11RawAddition> X11Touches::end(const Touch& touch)
{
    Screen& screen = screens_[touch.device];
    screen.touches.erase(touch.id);
    if (screen.pointing != touch.id)
        return std::nullopt;
    screen.pointing.reset();
    return follow(screen, touch, Kind::touchEnd);
}

std::vector<X11RawAddition> X11Touches::endAll(std::uint32_t stamp)
{
    std::vector<X11RawAddition> ended;
    for (auto& [device, screen] : screens_) {
        if (screen.pointing)
            ended.push_back(
                follow(screen, {.device = device, .id = *screen.pointing, .stamp = stamp, .x = {}, .y = {}},
                    Kind::touchEnd));
    }
    screens_.clear();
    return ended;
}

} // namespace glimto
