#pragma once

#include <cstdint>
#include <memory>

#include <xcb/xfixes.h>

#include "Backends/X11/Connection/X11Connection.h"
#include "Backends/X11/Connection/X11Regions.h"
#include "Backends/X11/Connection/X11Resource.h"
#include "Backends/X11/Connection/X11SharedMemory.h"
#include "Backends/X11/Pictures/X11PixelFormat.h"

namespace glimto {

// A picture of fixed size that the X server draws into and this process reads.
//
// Where the server shares memory, what it draws is in pixels() as soon as a later request was answered.
// Otherwise fetch() brings it.
class X11Canvas {
public:
    // Black, and stale everywhere. `format` is how the server stores pixels of that depth. Throws
    // PlatformError.
    X11Canvas(X11Connection& connection, PixelSize size, std::uint8_t depth, const X11PixelFormat& format);
    ~X11Canvas();
    X11Canvas(const X11Canvas&) = delete;
    X11Canvas& operator=(const X11Canvas&) = delete;

    PixelSize size() const { return size_; }
    xcb_pixmap_t pixmap() const { return pixmap_; }
    const std::shared_ptr<X11SharedMemory>& memory() const { return memory_; }
    PixelCanvas pixels() const { return format_.pixels(memory_->bytes(), size_, memory_); }

    // The server's region of what has changed in the source since it was drawn here.
    xcb_xfixes_region_t stale() const { return stale_; }
    void setAllStale();

    // Where a cursor is drawn over the picture.
    PixelRect cursorRect;

    // The layout of the picture that is drawn here; canvases of an older layout are cleared.
    std::uint64_t layout = 0;
    void clear();

    // Whether the server draws into pixels() itself.
    bool isShared() const { return isShared_; }

    // Reads the rectangle from the server into pixels(); only for canvases that are not shared.
    void fetch(const PixelRect& rect);

private:
    bool makeSharedPixmap(std::uint8_t depth);

    X11Connection& connection_;
    PixelSize size_;
    X11PixelFormat format_;
    std::shared_ptr<X11SharedMemory> memory_; // shared with the consumers of the picture
    X11Pixmap pixmap_;
    bool isShared_ = false;
    X11Region stale_;
};

} // namespace glimto
