#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "Backends/Wayland/WaylandConnection.h"
#include "Backends/Wayland/WaylandCopy.h"
#include "Backends/Wayland/WaylandWindowList.h"
#include "Platform/CaptureStream.h"
#include "Platform/ContentFilter.h"
#include "Platform/FramePicture.h"
#include "Support/HostClock.h"

namespace glimto {

// Takes pictures of a display, of a part of it, or of a window, one after the other. Used by the thread of
// its connection, which outlives it.
//
// At most one copy is outstanding. The first comes at once, the others when something has changed, so a
// screen that stands still costs nothing.
class WaylandFrameSource {
public:
    // Throws PlatformError when the content is not there, or cannot be captured on this connection.
    WaylandFrameSource(
        WaylandConnection& connection, const ContentFilter& filter, const CaptureStreamConfiguration& wanted);

    // Of all frames, in pixels: a display's is the one wanted, a window's the window's own.
    int width() const { return wanted_.width; }
    int height() const { return wanted_.height; }

    // Asks for the next picture, unless one is asked for already.
    void request();
    bool isRequested() const { return copy_ != nullptr; }

    // Whether the compositor waits for memory to copy into, which consumers hold. receive() looks again.
    bool waitsForConsumers() const { return copy_ && copy_->format() && !copy_->isStarted(); }

    // Takes the picture in, if it has come: picture(), changedRects() and time() are new then. Called after
    // the connection has handled events. After a failure the picture may be asked for again, a little later.
    // Throws sourceGone when the content was taken away, and copyFailed when one failure follows another.
    enum class Result { nothing, picture, failed };
    Result receive();

    // The last picture; null before the first. No rectangle: it is the same as the one before.
    const std::shared_ptr<const FramePicture>& picture() const { return picture_; }
    const std::vector<PixelRect>& changedRects() const { return changedRects_; }
    HostTime time() const { return time_; } // by the compositor

private:
    void openDisplay(const Display& display);
    void openWindow(std::uint32_t windowID);
    std::optional<PixelRect> partToCopy() const;
    void findCrop(const std::optional<PixelRect>& part);
    const WaylandOutput& output() const;
    void requireContent();
    void startCopy();
    bool needsOtherBuffer() const;
    void abandonCopy();
    Result didFail();
    WaylandBuffer* bufferFor(const WaylandPictureFormat& format);
    void take(const WaylandCopy& copy, WaylandBuffer& buffer);
    void noteDamage(const WaylandCopy& copy, WaylandBuffer& buffer);

    WaylandConnection& connection_;
    CaptureStreamConfiguration wanted_;
    std::optional<std::uint32_t> displayID_; // absent for a window
    std::unique_ptr<WaylandWindowList> windows_; // of a window: the source below goes before it
    const WaylandListedWindow* window_ = nullptr;
    std::unique_ptr<WaylandCopySource> copies_;
    bool copiesPart_ = false; // of a display, by the compositor
    std::optional<PixelRect> crop_; // what is wanted of the copy, once it is upright; all when absent
    std::vector<std::unique_ptr<WaylandBuffer>> buffers_;
    WaylandBuffer* buffer_ = nullptr; // that the outstanding copy goes into
    std::unique_ptr<WaylandCopy> copy_; // outstanding; uses source and buffer, so it goes first
    std::optional<PixelRect> part_; // of the last copy, that is the picture as it stands
    std::shared_ptr<const FramePicture> picture_; // shared with the consumers
    std::vector<PixelRect> changedRects_;
    HostTime time_;
    int failures_ = 0; // in a row
};

} // namespace glimto
