#pragma once

#include <memory>
#include <optional>

#include "Backends/X11/Connection/X11Connection.h"
#include "Backends/X11/Pictures/X11PixelFormat.h"
#include "Backends/X11/Connection/X11PixelRects.h"
#include "Backends/X11/Connection/X11SharedMemory.h"
#include "Platform/StillCapture.h"

namespace glimto {

// Reads the screen as it is, in one piece, without the pointer. Needs no extension of the server, and is
// faster where it has MIT-SHM. Used by the thread of the connection.
class X11ScreenReader {
public:
    // Memory for a picture of `expected` size is got ready. Throws PlatformError when the screen has a
    // format that cannot be read. The connection outlives it.
    X11ScreenReader(X11Connection& connection, PixelSize expected);
    ~X11ScreenReader();
    X11ScreenReader(const X11ScreenReader&) = delete;
    X11ScreenReader& operator=(const X11ScreenReader&) = delete;

    // Has the system give the memory its pages now, which it would do while the picture is taken.
    void touchMemory();

    // The part `area` of the root window as a picture of size `output`, black where it shows nothing. Nothing
    // when the server gives no picture. To be called once. Throws PlatformError.
    std::optional<PixelCanvas> read(const PixelRect& area, PixelSize output);

private:
    std::shared_ptr<X11SharedMemory> memoryFor(std::size_t size);
    void releaseMemory();
    std::optional<PixelCanvas> readPixels(const PixelRect& rect);

    X11Connection& connection_;
    X11PixelFormat format_;
    std::shared_ptr<X11SharedMemory> memory_; // shared with the picture that lies in it
};

} // namespace glimto
