#pragma once

#include <cstdint>
#include <utility>

#include <xcb/damage.h>
#include <xcb/render.h>
#include <xcb/xfixes.h>

#include "Backends/X11/Connection/X11Connection.h"

namespace glimto {

// An id of this connection and, once it was made, what the server keeps under it, which goes with this
// object.
//
//     const X11GraphicsContext context(connection);
//     xcb_create_gc(connection.xcb(), context, drawable, 0, nullptr);
//
// The connection outlives it.
template <auto release> class X11Resource {
public:
    // No id yet.
    X11Resource() = default;

    // A fresh id, for a request that makes something.
    explicit X11Resource(X11Connection& connection)
        : xcb_(connection.xcb())
        , id_(xcb_generate_id(connection.xcb()))
    {
    }
    ~X11Resource() { reset(); }

    X11Resource(X11Resource&& other) noexcept
        : xcb_(other.xcb_)
        , id_(std::exchange(other.id_, std::uint32_t{XCB_NONE}))
    {
    }
    X11Resource& operator=(X11Resource&& other) noexcept
    {
        std::swap(xcb_, other.xcb_);
        std::swap(id_, other.id_);
        return *this;
    }

    // NOLINTNEXTLINE(google-explicit-constructor): it stands for its id in requests.
    operator std::uint32_t() const { return id_; }

    void reset()
    {
        if (id_ != XCB_NONE)
            release(xcb_, std::exchange(id_, std::uint32_t{XCB_NONE}));
    }

private:
    xcb_connection_t* xcb_ = nullptr;
    std::uint32_t id_ = XCB_NONE;
};

using X11Window = X11Resource<xcb_destroy_window>;
using X11Pixmap = X11Resource<xcb_free_pixmap>;
using X11GraphicsContext = X11Resource<xcb_free_gc>;
using X11RenderPicture = X11Resource<xcb_render_free_picture>;
using X11DamageObject = X11Resource<xcb_damage_destroy>;
using X11Region = X11Resource<xcb_xfixes_destroy_region>;

// A region without any pixels.
inline X11Region makeX11Region(X11Connection& connection)
{
    X11Region region(connection);
    xcb_xfixes_create_region(connection.xcb(), region, 0, nullptr);
    return region;
}

// A window that is never seen, and tells of changes of its properties.
inline X11Window makeX11TimeWindow(X11Connection& connection)
{
    X11Window window(connection);
    constexpr std::uint32_t values[] = {1, XCB_EVENT_MASK_PROPERTY_CHANGE};
    xcb_create_window(connection.xcb(), 0, window, connection.root(), -1, -1, 1, 1, 0,
        XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK,
        values);
    return window;
}

// A change of a property that changes nothing, of which that window tells with the server's time.
inline void askForX11Time(X11Connection& connection, const X11Window& window)
{
    xcb_change_property(
        connection.xcb(), XCB_PROP_MODE_APPEND, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8, 0, nullptr);
}

} // namespace glimto
