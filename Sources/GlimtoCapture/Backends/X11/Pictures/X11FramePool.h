#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "Backends/X11/Pictures/X11Canvas.h"
#include "Platform/FramePicture.h"

namespace glimto {

// The pictures of a stream: canvases that are handed to consumers and drawn into again once they have
// let go of them. Made one by one as consumers hold on to more.
class X11FramePool {
public:
    X11FramePool(X11Connection& connection, PixelSize size, std::uint8_t depth, const X11PixelFormat& format,
        int mostCanvases);

    // A canvas that no consumer holds: `preferred` if that is one, null when there is none. Throws
    // PlatformError when a further one cannot be made.
    X11Canvas* acquire(X11Canvas* preferred);

    // The picture in `canvas` for consumers, who may keep it longer than this pool lives. The canvas is
    // not acquired again before all of them have let go of it.
    static std::shared_ptr<const FramePicture> lease(X11Canvas& canvas);

    const std::vector<std::unique_ptr<X11Canvas>>& canvases() const { return canvases_; }

private:
    X11Connection& connection_;
    PixelSize size_;
    std::uint8_t depth_;
    X11PixelFormat format_;
    std::size_t mostCanvases_;
    std::vector<std::unique_ptr<X11Canvas>> canvases_;
};

} // namespace glimto
