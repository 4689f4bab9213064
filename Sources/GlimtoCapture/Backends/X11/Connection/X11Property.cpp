#include "Backends/X11/Connection/X11Property.h"

#include <algorithm>
#include <cstddef>

namespace glimto {

xcb_get_property_cookie_t X11Property::ask(
    X11Connection& connection, xcb_window_t window, xcb_atom_t property, std::uint32_t maximumBytes)
{
    return xcb_get_property(
        connection.xcb(), 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, (maximumBytes + 3) / 4);
}

X11Property X11Property::receive(X11Connection& connection, xcb_get_property_cookie_t cookie)
{
    return X11Property(connection.reply<xcb_get_property_reply_t>(cookie));
}

std::string_view X11Property::bytes() const
{
    if (!reply_ || reply_->format != 8)
        return {};
    const std::size_t arrived = std::size_t{4} * reply_->length;
    return {static_cast<const char*>(xcb_get_property_value(reply_.get())),
        std::min<std::size_t>(reply_->value_len, arrived)};
}

std::span<const std::uint32_t> X11Property::numbers() const
{
    if (!reply_ || reply_->format != 32)
        return {};
    return {static_cast<const std::uint32_t*>(xcb_get_property_value(reply_.get())),
        std::min<std::size_t>(reply_->value_len, reply_->length)};
}

std::optional<std::uint32_t> X11Property::firstNumber() const
{
    const auto all = numbers();
    return all.empty() ? std::nullopt : std::optional(all.front());
}

std::int32_t X11Property::processID() const
{
    const std::uint32_t number = firstNumber().value_or(0);
    return number <= INT32_MAX ? static_cast<std::int32_t>(number) : 0;
}

} // namespace glimto
