#pragma once

#include <memory>

#include "Backends/X11/Pictures/X11PictureSource.h"
#include "Platform/ShareableContent.h"

namespace glimto {

// What of a display is captured, in coordinates of the root window: all of it, or a piece of size `output`
// at `sourceRect`, whose origin is in points of the display and is rounded and moved so that the piece lies
// inside.
PixelRect capturedArea(const Display& display, const std::optional<Rect>& sourceRect, PixelSize output);

// The display with that id. Throws sourceGone when it is not connected.
Display connectedDisplay(X11Connection& connection, std::uint32_t displayID);

// One display, or a part of it, as the screen shows it.
class X11DisplayPicture : public X11PictureSource {
public:
    // Throws sourceGone when the display is not connected.
    X11DisplayPicture(
        X11Connection& connection, std::uint32_t displayID, std::optional<Rect> sourceRect, PixelSize output);

    PixelSize size() const override { return {area_.width, area_.height}; }
    std::uint8_t depth() const override { return connection_.screen().root_depth; }
    X11PixelFormat format() const override { return format_; }
    std::uint64_t layout() const override { return layout_; }
    void handle(const xcb_generic_event_t& event) override;
    void update() override;
    bool hasChanges() const override { return geometryMayHaveChanged_ || damage_.isPending(); }
    void requestChanges(xcb_xfixes_region_t changes) override;
    void requestCopy(xcb_pixmap_t target, xcb_xfixes_region_t clip) override;
    std::optional<Place> place() const override { return Place{connection_.root(), area_.x, area_.y}; }

    // Whether update() has work to do.
    bool mayBeElsewhere() const { return geometryMayHaveChanged_; }

    // What is captured, in coordinates of the root window.
    const PixelRect& area() const { return area_; }
    PixelSize rootSize() const { return rootSize_; }

private:
    void readGeometry();

    X11Connection& connection_;
    X11PixelFormat format_;
    std::uint32_t displayID_;
    std::optional<Rect> sourceRect_;
    PixelSize output_;
    PixelRect area_;
    PixelSize rootSize_;
    PixelRect visible_; // the part of it that lies on the root window
    std::uint64_t layout_ = 0;
    bool geometryMayHaveChanged_ = false;
    bool hasRandR_ = false;
    X11GraphicsContext context_;
    X11Region bounds_; // the visible part in picture coordinates
    X11Damage damage_;
};

} // namespace glimto
