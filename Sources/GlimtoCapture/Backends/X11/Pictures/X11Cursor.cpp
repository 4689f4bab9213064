#include "Backends/X11/Pictures/X11Cursor.h"

#include <cstddef>
#include <memory>
#include <vector>

#include "Support/Errors.h"

namespace glimto {

X11Cursor::X11Cursor(X11Connection& connection)
    : connection_(connection)
{
    xcb_xfixes_select_cursor_input(
        connection_.xcb(), connection_.root(), XCB_XFIXES_CURSOR_NOTIFY_MASK_DISPLAY_CURSOR);
}

void X11Cursor::handle(const xcb_generic_event_t& event)
{
    if ((event.response_type & 0x7f) == connection_.firstEvent(xcb_xfixes_id) + XCB_XFIXES_CURSOR_NOTIFY)
        hasNewShape_ = true;
}

void X11Cursor::request(const X11PictureSource::Place& place)
{
    place_ = place;
    imageRequested_ = hasNewShape_;
    if (imageRequested_)
        imageCookie_ = xcb_xfixes_get_cursor_image(connection_.xcb());
    pointerCookie_ = xcb_query_pointer(connection_.xcb(), place.window);
}

void X11Cursor::receive()
{
    // The later request first: with its answer the other one is there as well.
    const auto pointer = connection_.reply<xcb_query_pointer_reply_t>(pointerCookie_);
    if (imageRequested_)
        receiveImage();
    if (!pointer)
        return;
    x_ = pointer->win_x - place_.x;
    y_ = pointer->win_y - place_.y;
}

void X11Cursor::receiveImage()
{
    auto reply = connection_.reply<xcb_xfixes_get_cursor_image_reply_t>(imageCookie_);
    hasNewShape_ = false;
    if (!reply && connection_.lastError() == XCB_ACCESS)
        reply = imageWithoutItsMaker();
    // A server without a pointer has no image to give, and tells when it gets one.
    if (!reply) {
        image_ = {};
        serial_ = 0;
        return;
    }
    serial_ = reply->cursor_serial;
    image_ = x11CursorImage(*reply);
}

// Servers give a shape to nobody while the number of the client that made it belongs to none, as after
// "xsetroot -cursor_name". A new client gets the lowest number that is free, so one of the next is that.
X11Cursor::ImageReply X11Cursor::imageWithoutItsMaker()
{
    constexpr std::size_t mostClients = 16;
    std::vector<std::unique_ptr<X11Connection>> clients;
    ImageReply reply;
    try {
        while (!reply && clients.size() < mostClients) {
            clients.push_back(X11Connection::open());
            reply = connection_.reply<xcb_xfixes_get_cursor_image_reply_t>(
                xcb_xfixes_get_cursor_image(connection_.xcb()));
        }
    } catch (const PlatformError&) {
        // The server takes no more clients. One that is gone shows with the next question.
    }
    return reply;
}

void X11Cursor::draw(X11Canvas& canvas) const
{
    image_.drawAt(x_, y_, canvas.pixels());
    canvas.cursorRect = rect(canvas.size());
}

} // namespace glimto
