#include "Backends/X11/Pointer/X11PointerButtons.h"

namespace glimto {

namespace {

constexpr std::uint32_t leftButton = 1;
constexpr std::uint32_t rightButton = 3;

} // namespace

std::optional<InputEventType> X11PointerButtons::press(std::uint32_t button)
{
    if (button == leftButton) {
        leftIsDown_ = true;
        return InputEventType::leftMouseDown;
    }
    if (button == rightButton) {
        rightIsDown_ = true;
        return InputEventType::rightMouseDown;
    }
    return std::nullopt;
}

std::optional<InputEventType> X11PointerButtons::release(std::uint32_t button)
{
    if (button == leftButton) {
        leftIsDown_ = false;
        return InputEventType::leftMouseUp;
    }
    if (button == rightButton) {
        rightIsDown_ = false;
        return InputEventType::rightMouseUp;
    }
    return std::nullopt;
}

InputEventType X11PointerButtons::move() const
{
    if (leftIsDown_)
        return InputEventType::leftMouseDragged;
    return rightIsDown_ ? InputEventType::rightMouseDragged : InputEventType::mouseMoved;
}

void X11PointerButtons::set(bool leftIsDown, bool rightIsDown)
{
    leftIsDown_ = leftIsDown;
    rightIsDown_ = rightIsDown;
}

} // namespace glimto
