#pragma once

#include <chrono>

#include "Backends/X11/Pictures/X11DisplayPicture.h"
#include "Backends/X11/Pictures/X11WindowLayers.h"
#include "Backends/X11/Windows/X11HiddenApplications.h"
#include "Backends/X11/Windows/X11TopLevels.h"

namespace glimto {

// A display as it would look without the windows of some applications.
//
// While none of these windows is shown, this is the plain screen; each picture of it is looked at afterwards,
// and rejected when one of them had come meanwhile. While one is shown, and for a while after, nothing is
// taken from the screen: the picture is composed by the server from the windows that remain, so that no
// place, animation or shadow of the others can be in it. For that, the server keeps every window's contents
// in memory of its own.
class X11ComposedPicture : public X11PictureSource {
public:
    // Throws as X11DisplayPicture does, and missingExtension when something is to be hidden now and the
    // server cannot compose. When that comes later, there is no picture as long as it lasts.
    X11ComposedPicture(X11Connection& connection, const DisplayContentFilter& filter,
        std::optional<Rect> sourceRect, PixelSize output);
    ~X11ComposedPicture() override;

    PixelSize size() const override { return plain_.size(); }
    std::uint8_t depth() const override { return plain_.depth(); }
    X11PixelFormat format() const override { return plain_.format(); }
    std::uint64_t layout() const override { return plain_.layout() + timesSwitched_; }
    void handle(const xcb_generic_event_t& event) override;
    void update() override;
    bool hasChanges() const override;
    bool isReady() const override;
    bool approvesPicture() override;
    void requestChanges(xcb_xfixes_region_t changes) override;
    void requestCopy(xcb_pixmap_t target, xcb_xfixes_region_t clip) override;
    std::optional<Place> place() const override { return plain_.place(); }

private:
    using Clock = std::chrono::steady_clock;

    void startExtensions();
    void handleRootProperty(const xcb_property_notify_event_t& event);
    void learn();
    void learnOfEarlierWindows();
    bool mustBeComposed() const;
    void setComposed(bool isComposed);
    std::vector<X11TopLevel> shownWindows() const;
    bool isComposited();

    X11Connection& connection_;
    X11DisplayPicture plain_;
    X11HiddenApplications applications_;
    X11TopLevels topLevels_;
    X11WindowLayers layers_;
    xcb_atom_t compositor_ = XCB_ATOM_NONE; // the selection that a compositing manager owns
    xcb_atom_t rootPixmap_ = XCB_ATOM_NONE;
    xcb_atom_t clientList_ = XCB_ATOM_NONE;
    xcb_atom_t clientListStacking_ = XCB_ATOM_NONE;

    bool mustLearn_ = true; // a window may have come that is to be hidden
    bool mustArrange_ = true; // windows lie otherwise than the layers
    bool isHiding_ = false; // a window that is to be hidden is shown
    Clock::time_point hidUntil_; // when the last one was last shown, while none is
    bool canCompose_ = false;
    bool isComposed_ = false;
    std::uint64_t timesSwitched_ = 0;
    Clock::time_point readyAt_;
};

} // namespace glimto
