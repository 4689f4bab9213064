#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "Backends/Portal/PictureFitting.h"
#include "Backends/Portal/PipeWireScreen.h"
#include "Platform/FramePicture.h"
#include "Platform/Geometry.h"
#include "Support/HostClock.h"

namespace glimto {

// Which part of a shared screen is seen in the frames, and how large these are.
struct PortalFraming {
    int width = 0; // pixels of every frame
    int height = 0;
    // In fractions of the whole screen; all of it when absent.
    std::optional<Rect> part;
    int queueDepth = 1; // frames that consumers may hold
};

// Makes the pictures of frames out of what a screen sends: lent as they are where that will do, else copied.
class PortalPictures {
public:
    // `screen` outlives this.
    PortalPictures(PipeWireScreen& screen, const PortalFraming& framing);

    // Takes what has arrived. False when nothing has, nothing of it is seen, or consumers hold too much; in
    // the last case it stays.
    bool take();

    // Of the picture that was taken last.
    const std::shared_ptr<const FramePicture>& picture() const { return picture_; }
    const std::vector<PixelRect>& changedRects() const { return changedRects_; }
    HostTime time() const { return time_; }

private:
    PixelRect shownPart(const PixelRect& whole) const;
    void setChanges(const ArrivedPicture& arrived, const PixelRect& part, const PixelRect& place);

    PipeWireScreen& screen_;
    PortalFraming framing_;
    PictureFitting fitting_;
    PixelRect part_; // of the last picture
    std::shared_ptr<const FramePicture> picture_;
    std::vector<PixelRect> changedRects_;
    HostTime time_;
};

} // namespace glimto
