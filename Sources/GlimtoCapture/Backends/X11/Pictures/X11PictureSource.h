#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include <xcb/damage.h>
#include <xcb/xfixes.h>

#include "Backends/X11/Connection/X11Connection.h"
#include "Backends/X11/Connection/X11Regions.h"
#include "Backends/X11/Connection/X11Resource.h"
#include "Backends/X11/Pictures/X11PixelFormat.h"

namespace glimto {

// What a stream takes its pictures from: a display or a window. Used by the thread of the connection.
//
// The request...() operations only send requests: the caller bundles them with others and waits once.
class X11PictureSource {
public:
    virtual ~X11PictureSource() = default;

    virtual PixelSize size() const = 0;
    virtual std::uint8_t depth() const = 0;

    // How the server stores its pixels.
    virtual X11PixelFormat format() const = 0;

    // Changes whenever every pixel may have changed its place: nothing drawn before is of use then.
    virtual std::uint64_t layout() const = 0;

    // Takes note of an event, without asking the server anything.
    virtual void handle(const xcb_generic_event_t& event) = 0;

    // Asks the server for what recent events have made unknown. Called before each picture. Throws
    // sourceGone when the source is no longer there.
    virtual void update() = 0;

    // Whether the picture may have changed since requestChanges(), or update() has work to do.
    virtual bool hasChanges() const = 0;

    // Whether a picture taken now would show what it should; false for a short while only.
    virtual bool isReady() const { return true; }

    // Asked when a picture was taken and all events up to then were handled: whether the picture shows
    // what it should. May ask the server. Seldom false.
    virtual bool approvesPicture() { return true; }

    // Replaces the contents of `changes` by what has changed since the last call, in picture coordinates.
    virtual void requestChanges(xcb_xfixes_region_t changes) = 0;

    // Copies the part `clip` of the picture into `target`, of this depth.
    virtual void requestCopy(xcb_pixmap_t target, xcb_xfixes_region_t clip) = 0;

    // The window relative to which the picture lies, and the picture's top left in it; none while
    // the picture can show no pointer.
    struct Place {
        xcb_window_t window = XCB_NONE;
        int x = 0;
        int y = 0;
    };
    virtual std::optional<Place> place() const = 0;
};

// What has changed in one window, including those inside it, gathered by the server.
class X11Damage {
public:
    X11Damage(X11Connection& connection, xcb_window_t window);

    // Whether the event is about this window's changes.
    bool handle(const xcb_generic_event_t& event);
    bool isPending() const { return isPending_; }

    // Moves what has changed into `region`, in coordinates of the window.
    void requestTake(xcb_xfixes_region_t region);

private:
    X11Connection& connection_;
    X11DamageObject damage_;
    unsigned takenBy_ = 0; // sequence number of the last take
    bool isPending_ = false;
};

// A graphics context that copies from windows with all that is inside them, for drawables of `depth`.
X11GraphicsContext makeCopyContext(X11Connection& connection, std::uint8_t depth);

// Starts the extensions that sources and canvases need. Throws missingExtension.
void startPictureExtensions(X11Connection& connection);

} // namespace glimto
