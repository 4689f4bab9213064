#pragma once

#include <cstdint>

#include "Backends/X11/Pictures/X11Canvas.h"
#include "Backends/X11/Pictures/X11CursorImage.h"
#include "Backends/X11/Pictures/X11PictureSource.h"

namespace glimto {

// Follows the pointer and draws it into pictures.
//
// The server tells when the pointer gets another shape, but not when it moves: its position has to be
// asked for.
class X11Cursor {
public:
    explicit X11Cursor(X11Connection& connection);

    void handle(const xcb_generic_event_t& event);

    // Whether the pointer has another shape than the one last received.
    bool hasNewShape() const { return hasNewShape_; }

    // Asks for the position, and for the shape if there is a new one, and takes the answers in.
    void request(const X11PictureSource::Place& place);
    void receive();

    // What the pointer covers of a picture of this size, as last received; empty when it is outside.
    PixelRect rect(PixelSize picture) const { return image_.rectAt(x_, y_, picture); }

    // Draws it over the canvas and marks there where.
    void draw(X11Canvas& canvas) const;

    // Stands for shape and position: two equal values draw the same.
    struct State {
        int x = 0;
        int y = 0;
        std::uint32_t serial = 0;
        friend bool operator==(const State&, const State&) = default;
    };
    State state() const { return {x_, y_, serial_}; }

private:
    using ImageReply = XCBHandle<xcb_xfixes_get_cursor_image_reply_t>;

    void receiveImage();
    ImageReply imageWithoutItsMaker();

    X11Connection& connection_;
    X11CursorImage image_;
    std::uint32_t serial_ = 0;
    int x_ = 0; // where it points, in the picture
    int y_ = 0;
    bool hasNewShape_ = true;
    bool imageRequested_ = false;
    X11PictureSource::Place place_;
    xcb_query_pointer_cookie_t pointerCookie_ = {};
    xcb_xfixes_get_cursor_image_cookie_t imageCookie_ = {};
};

} // namespace glimto
