#include "Backends/X11/Pictures/X11Canvas.h"

#include <cstring>

namespace glimto {

X11Canvas::X11Canvas(
    X11Connection& connection, PixelSize size, std::uint8_t depth, const X11PixelFormat& format)
    : connection_(connection)
    , size_(size)
    , format_(format)
    , memory_(X11SharedMemory::make(connection, format.byteCount(size)))
{
    xcb_connection_t* xcb = connection_.xcb();
    pixmap_ = X11Pixmap(connection_);
    isShared_ = makeSharedPixmap(depth);
    if (!isShared_) {
        const auto made = xcb_create_pixmap_checked(xcb, depth, pixmap_, connection_.root(),
            static_cast<std::uint16_t>(size.width), static_cast<std::uint16_t>(size.height));
        if (connection_.check(made))
            throw x11Error(X11Failure::sharedMemory, "The X server has no memory for a picture.");
    }
    stale_ = makeX11Region(connection_);
    if (!isShared())
        clear();
    setAllStale();
}

X11Canvas::~X11Canvas()
{
    if (memory_->segment() != XCB_NONE)
        xcb_shm_detach(connection_.xcb(), memory_->segment());
}

// Some servers share memory but draw into none of it.
bool X11Canvas::makeSharedPixmap(std::uint8_t depth)
{
    if (memory_->segment() == XCB_NONE)
        return false;
    const auto made = xcb_shm_create_pixmap_checked(connection_.xcb(), pixmap_, connection_.root(),
        static_cast<std::uint16_t>(size_.width), static_cast<std::uint16_t>(size_.height), depth,
        memory_->segment(), 0);
    return !connection_.check(made);
}

void X11Canvas::setAllStale()
{
    const xcb_rectangle_t whole = xcbRectangle(wholeOf(size_));
    xcb_xfixes_set_region(connection_.xcb(), stale_, 1, &whole);
    cursorRect = {};
}

void X11Canvas::clear()
{
    std::memset(memory_->bytes(), 0, memory_->size());
    if (isShared())
        return;
    xcb_connection_t* xcb = connection_.xcb();
    const X11GraphicsContext black(connection_);
    const std::uint32_t foreground = 0;
    const xcb_rectangle_t whole = xcbRectangle(wholeOf(size_));
    xcb_create_gc(xcb, black, pixmap_, XCB_GC_FOREGROUND, &foreground);
    xcb_poly_fill_rectangle(xcb, pixmap_, black, 1, &whole);
}

void X11Canvas::fetch(const PixelRect& rect)
{
    if (const auto image = readX11Image(connection_, pixmap_, rect, format_))
        convertPixels(*image, pixels().part(rect));
}

} // namespace glimto
