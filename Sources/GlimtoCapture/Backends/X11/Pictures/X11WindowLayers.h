#pragma once

#include <memory>
#include <span>
#include <vector>

#include <xcb/render.h>

#include "Backends/X11/Connection/X11Connection.h"
#include "Backends/X11/Connection/X11PixelRects.h"
#include "Backends/X11/Connection/X11Resource.h"
#include "Backends/X11/Pictures/X11PictureSource.h"
#include "Backends/X11/Windows/X11TopLevels.h"

namespace glimto {

// What the root window shows where no window is.
class X11RootBackground {
public:
    // `announced` is the property in which pictures for the root are announced.
    X11RootBackground(X11Connection& connection, xcb_atom_t announced);

    // A picture of it, of the root's depth and of this size, made when there is none yet.
    xcb_pixmap_t pixmap(PixelSize rootSize);

    // It may have another background now.
    void forget() { pixmap_.reset(); }

private:
    void paint(xcb_window_t window);

    X11Connection& connection_;
    xcb_atom_t announced_;
    X11Pixmap pixmap_;
    PixelSize size_;
};

// Windows drawn one over the other as the server keeps each of them, over the root's background: what the
// screen would show if there were no others.
//
// The server keeps a window's own contents while it is redirected, which is the caller's work. Positions are
// those of the root window; a picture begins at `area`.
class X11WindowLayers {
public:
    X11WindowLayers(X11Connection& connection, std::uint8_t depth, xcb_atom_t announcedBackground);
    ~X11WindowLayers();
    X11WindowLayers(const X11WindowLayers&) = delete;
    X11WindowLayers& operator=(const X11WindowLayers&) = delete;

    // Takes note of an event about changed contents, or of a window that has new ones.
    void handle(const xcb_generic_event_t& event);

    // Shows these windows from bottom to top. Where that changes the picture, hasChanges() says so.
    void arrange(std::span<const X11TopLevel> bottomToTop);

    // Names the contents of windows that were not redirected when they were arranged.
    void takePixmaps();

    void clear() { layers_.clear(); }

    // The root may have another background.
    void forgetBackground();

    bool hasChanges() const;

    // Replaces the contents of `changes` by what has changed since the last call.
    void requestChanges(xcb_xfixes_region_t changes, const PixelRect& area);

    // Draws the part `clip` of the picture into `target`.
    void draw(xcb_pixmap_t target, xcb_xfixes_region_t clip, const PixelRect& area, PixelSize rootSize);

    // Whether all that is shown satisfies `isShown`.
    template <typename Predicate> bool allOf(Predicate isShown) const
    {
        for (const auto& layer : layers_) {
            if (!isShown(layer->topLevel.window))
                return false;
        }
        return true;
    }

private:
    struct Layer {
        Layer(X11Connection& connection, const X11TopLevel& theTopLevel)
            : topLevel(theTopLevel)
            , damage(connection, theTopLevel.window)
        {
        }

        X11TopLevel topLevel;
        X11Damage damage;
        X11Pixmap pixmap; // with its border
        X11RenderPicture picture; // of the pixmap, for windows of another depth than the root
        bool hasNewPixmap = true; // another one than `pixmap`
    };

    Layer* find(xcb_window_t window) const;
    void drawLayer(Layer& layer, xcb_pixmap_t target, X11RenderPicture& targetPicture, const PixelRect& area);
    void makePicture(X11RenderPicture& picture, xcb_drawable_t drawable, xcb_visualid_t visual);
    xcb_render_pictformat_t format(xcb_visualid_t visual);

    X11Connection& connection_;
    std::uint8_t depth_;
    X11RootBackground background_;
    std::vector<std::unique_ptr<Layer>> layers_; // bottom to top
    std::vector<PixelRect> redraw_; // what rearranging has changed
    XCBHandle<xcb_render_query_pict_formats_reply_t> formats_;
    X11GraphicsContext context_;
    X11Region part_; // scratch
    X11Region shape_; // scratch
};

} // namespace glimto
