#include "Backends/X11/Windows/X11WindowRules.h"

namespace glimto {

namespace {

constexpr int normalLayer = 0;
constexpr int dockLayer = 20;
constexpr int popupLayer = 101;
constexpr int desktopLayer = -2147483603;

constexpr std::uint32_t allDesktops = 0xFFFFFFFF;

} // namespace

int windowLayer(X11WindowType type, bool overridesRedirect)
{
    switch (type) {
    case X11WindowType::desktop:
        return desktopLayer;
    case X11WindowType::dock:
        return dockLayer;
    case X11WindowType::popup:
        return popupLayer;
    case X11WindowType::normal:
        break;
    }
    return overridesRedirect ? popupLayer : normalLayer;
}

bool isOnScreen(const X11WindowVisibility& visibility)
{
    if (!visibility.isViewable || visibility.isHidden || visibility.isIconic)
        return false;
    if (!visibility.desktop || !visibility.currentDesktop || *visibility.desktop == allDesktops)
        return true;
    return *visibility.desktop == *visibility.currentDesktop;
}

Rect withoutShadow(const Rect& frame, std::span<const std::uint32_t> extents)
{
    if (extents.size() != 4)
        return frame;
    const double left = extents[0];
    const double right = extents[1];
    const double top = extents[2];
    const double bottom = extents[3];
    const Rect inner{frame.x + left, frame.y + top, frame.width - left - right, frame.height - top - bottom};
    return inner.isEmpty() ? frame : inner;
}

} // namespace glimto
