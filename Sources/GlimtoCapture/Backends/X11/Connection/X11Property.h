#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <utility>

#include <xcb/xcb.h>

#include "Backends/X11/Connection/X11Connection.h"

namespace glimto {

// One property of a window as it was read. A property that is not there, or whose window is gone, is
// empty.
//
// Asking and receiving are two steps, so that many properties cost one round trip:
//
//     const auto first = X11Property::ask(connection, window, atoms.name);
//     const auto second = X11Property::ask(connection, window, atoms.processID);
//     const auto name = X11Property::receive(connection, first);
class X11Property {
public:
    // Asks for at most `maximumBytes` of the property, whatever its type.
    static xcb_get_property_cookie_t ask(X11Connection& connection, xcb_window_t window, xcb_atom_t property,
        std::uint32_t maximumBytes = 4096);

    // Throws PlatformError when the server goes away or does not answer in time.
    static X11Property receive(X11Connection& connection, xcb_get_property_cookie_t cookie);

    // Both steps in one.
    static X11Property read(X11Connection& connection, xcb_window_t window, xcb_atom_t property)
    {
        return receive(connection, ask(connection, window, property));
    }

    // What a server has answered, null for nothing. As long as the reply says in `length`, whatever else
    // stands in it.
    explicit X11Property(XCBHandle<xcb_get_property_reply_t> reply)
        : reply_(std::move(reply))
    {
    }

    // The type that its owner gave it, XCB_ATOM_NONE when there is no property.
    xcb_atom_t type() const { return reply_ ? reply_->type : static_cast<xcb_atom_t>(XCB_ATOM_NONE); }

    // The items of a property of 8-bit items, else empty. Valid as long as this object.
    std::string_view bytes() const;

    // The items of a property of 32-bit items, else empty. Valid as long as this object.
    std::span<const std::uint32_t> numbers() const;

    std::optional<std::uint32_t> firstNumber() const;

    // The first number as that of a process; 0 when it can be none.
    std::int32_t processID() const;

    // Whether the property holds more than was asked for.
    bool wasCut() const { return reply_ && reply_->bytes_after > 0; }

private:
    XCBHandle<xcb_get_property_reply_t> reply_;
};

} // namespace glimto
