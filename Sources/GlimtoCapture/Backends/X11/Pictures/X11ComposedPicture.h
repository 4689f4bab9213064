#pragma once

#include <chrono>
#include <memory>
#include <vector>

#include <xcb/render.h>

#include "Backends/X11/Pictures/X11DisplayPicture.h"
#include "Backends/X11/Windows/X11HiddenApplications.h"
#include "Backends/X11/Pictures/X11LingeringRects.h"
#include "Backends/X11/Pictures/X11RootBackground.h"
#include "Backends/X11/Windows/X11TopLevels.h"

namespace glimto {

// A display as it would look without the windows of some applications.
//
// Where none of their windows lies this is the plain screen. Where one does, the picture is composed by
// the server from the windows that remain; for that, the server keeps every window's contents in memory
// of its own as long as there is something to hide.
class X11ComposedPicture : public X11PictureSource {
public:
    // Throws as X11DisplayPicture does.
    X11ComposedPicture(X11Connection& connection, const DisplayContentFilter& filter,
        std::optional<Rect> sourceRect, PixelSize output);
    ~X11ComposedPicture() override;

    PixelSize size() const override { return plain_.size(); }
    std::uint8_t depth() const override { return plain_.depth(); }
    std::uint64_t layout() const override { return plain_.layout(); }
    void handle(const xcb_generic_event_t& event) override;
    void update() override;
    bool hasChanges() const override;
    bool isReady() const override;
    bool approvesPicture() const override { return !mayShowHidden_; }
    bool approvesAlways() const override { return false; }
    void requestChanges(xcb_xfixes_region_t changes) override;
    void requestCopy(xcb_pixmap_t target, xcb_xfixes_region_t clip) override;
    std::optional<Place> place() const override { return plain_.place(); }

private:
    // A window that is seen where a hidden one would cover it or be seen through it.
    struct Layer {
        Layer(X11Connection& connection, const X11TopLevel& topLevel);
        ~Layer();
        Layer(const Layer&) = delete;
        Layer& operator=(const Layer&) = delete;
        void takePixmap();

        X11Connection& connection;
        X11TopLevel topLevel;
        X11Damage damage;
        xcb_pixmap_t pixmap = XCB_NONE; // with its border
        bool hasNewPixmap = false; // the window has another one by now
        xcb_render_picture_t picture = XCB_NONE; // of the pixmap, for windows of another depth than the root
    };

    void handleRootProperty(const xcb_property_notify_event_t& event);
    void noteNewPixmaps(const xcb_generic_event_t& event);
    void arrange();
    bool isComposited();
    std::vector<PixelRect> hiddenRects(int margin) const;
    void takeLayers(const std::vector<PixelRect>& hidden);
    void setRedirected(bool isRedirected);
    void redrawHidden();
    void compose(xcb_pixmap_t target);
    void drawLayer(const Layer& layer, xcb_pixmap_t target, xcb_render_picture_t targetPicture);
    void readFormats();
    xcb_render_pictformat_t format(xcb_visualid_t visual) const;

    X11Connection& connection_;
    X11DisplayPicture plain_;
    X11HiddenApplications applications_;
    X11TopLevels topLevels_;
    X11RootBackground background_;
    xcb_atom_t compositor_ = XCB_ATOM_NONE; // the selection that a compositing manager owns
    xcb_atom_t rootPixmap_ = XCB_ATOM_NONE;
    xcb_atom_t clientList_ = XCB_ATOM_NONE;
    xcb_atom_t clientListStacking_ = XCB_ATOM_NONE;

    bool mayBeArrangedAnew_ = true;
    bool mayShowHidden_ = false; // a picture taken now might show what it must not
    bool mustRedraw_ = false; // redraw_ is not empty
    bool isRedirected_ = false;
    std::uint64_t arrangedLayout_ = 0;
    std::chrono::steady_clock::time_point readyAt_;
    X11LingeringRects hiddenWindows_;
    std::vector<PixelRect> hiddenRects_; // in picture coordinates
    std::vector<std::unique_ptr<Layer>> layers_; // bottom to top

    XCBHandle<xcb_render_query_pict_formats_reply_t> formats_;
    xcb_gcontext_t context_ = XCB_NONE;
    xcb_xfixes_region_t hidden_ = XCB_NONE; // hiddenRects_
    xcb_xfixes_region_t redraw_ = XCB_NONE;
    xcb_xfixes_region_t part_ = XCB_NONE; // scratch
    xcb_xfixes_region_t shape_ = XCB_NONE; // scratch
};

} // namespace glimto
