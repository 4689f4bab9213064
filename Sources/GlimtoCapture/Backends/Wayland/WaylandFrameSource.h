#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "Backends/Wayland/WaylandBuffer.h"
#include "Backends/Wayland/WaylandConnection.h"
#include "Backends/Wayland/WaylandCopy.h"
#include "Platform/CaptureStream.h"
#include "Platform/ContentFilter.h"
#include "Platform/FramePicture.h"

namespace glimto {

// Takes pictures of a display, or of a part of it, one after the other. Used by the thread of its connection.
//
// At most one copy is outstanding. The first comes at once, the others when something has changed, so a
// screen that stands still costs nothing.
class WaylandFrameSource {
public:
    // Throws PlatformError when the display is not there or the content is no display.
    WaylandFrameSource(
        WaylandConnection& connection, const ContentFilter& filter, const CaptureStreamConfiguration& wanted);

    // Asks for the next picture, unless one is asked for already.
    void request();
    bool isRequested() const { return copy_ != nullptr; }

    // Whether the compositor waits for memory to copy into, which consumers hold. receive() looks again.
    bool waitsForConsumers() const;

    // Takes the picture in, if it has come: picture(), changedRects() and time() are new then. Called after
    // the connection has handled events. After a failure the picture may be asked for again, a little later.
    // Throws sourceGone when the display was taken away, and copyFailed when one failure follows another.
    enum class Result { nothing, picture, failed };
    Result receive();

    // The last picture; null before the first.
    const std::shared_ptr<const FramePicture>& picture() const { return picture_; }
    const std::vector<PixelRect>& changedRects() const { return changedRects_; }
    std::int64_t time() const { return time_; }

private:
    void chooseArea(const WaylandOutput& output);
    const WaylandOutput& output() const;
    WaylandBuffer* bufferFor(const WaylandPictureFormat& format);
    void take(const WaylandCopy& copy, const WaylandBuffer& buffer);

    WaylandConnection& connection_;
    std::uint32_t displayID_;
    CaptureStreamConfiguration wanted_;
    WaylandCopyArea area_;
    std::optional<PixelRect> crop_; // what is wanted of the copy, once it is upright; all when absent
    std::vector<std::unique_ptr<WaylandBuffer>> buffers_;
    WaylandBuffer* buffer_ = nullptr; // that the outstanding copy goes into
    std::unique_ptr<WaylandCopy> copy_; // outstanding; uses a buffer, so it goes first
    std::shared_ptr<const FramePicture> picture_; // shared with the consumers
    std::vector<PixelRect> changedRects_;
    std::int64_t time_ = 0;
    int failures_ = 0; // in a row
};

} // namespace glimto
