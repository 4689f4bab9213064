#pragma once

#include "Backends/X11/Pictures/X11PictureSource.h"

namespace glimto {

// One window without its decoration and shadow, wherever it is and whatever covers it.
//
// While the window is minimised its last contents stay. A window that has not been shown yet is black.
class X11WindowPicture : public X11PictureSource {
public:
    // Throws sourceGone when there is no such window.
    X11WindowPicture(X11Connection& connection, xcb_window_t window);
    ~X11WindowPicture() override;

    PixelSize size() const override { return {content_.width, content_.height}; }
    std::uint8_t depth() const override { return depth_; }
    X11PixelFormat format() const override { return format_; }
    std::uint64_t layout() const override { return layout_; }
    void handle(const xcb_generic_event_t& event) override;
    void update() override;
    bool hasChanges() const override { return isGone_ || mayHaveNewPixmap_ || damage_.isPending(); }
    bool isReady() const override { return std::chrono::steady_clock::now() >= readyAt_; }
    void requestChanges(xcb_xfixes_region_t changes) override;
    void requestCopy(xcb_pixmap_t target, xcb_xfixes_region_t clip) override;
    std::optional<Place> place() const override;

private:
    void handleVisibility(const xcb_visibility_notify_event_t& event);
    void handleConfigure(const xcb_configure_notify_event_t& event);
    void takePixmap();

    X11Connection& connection_;
    xcb_window_t window_;
    xcb_atom_t frameExtents_ = XCB_ATOM_NONE;
    std::uint8_t depth_ = 0;
    X11PixelFormat format_;
    PixelRect content_; // the part of the window without its shadow, relative to the inside of its border
    PixelSize windowSize_;
    int border_ = 0;
    std::uint64_t layout_ = 0;
    bool isGone_ = false;
    bool isShown_ = false;
    bool mayHaveNewPixmap_ = true;
    X11Pixmap pixmap_; // the window with its border; stays when the window is hidden
    X11GraphicsContext context_;
    X11Region bounds_;
    std::chrono::steady_clock::time_point readyAt_;
    X11Damage damage_;
};

} // namespace glimto
