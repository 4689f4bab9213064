#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "Backends/X11/Connection/X11Resource.h"
#include "Backends/X11/Pictures/X11Cursor.h"
#include "Backends/X11/Pictures/X11FramePool.h"
#include "Backends/X11/Pictures/X11PictureSource.h"

namespace glimto {

// Takes pictures of a source: brings what has changed into a picture of the pool, with one round trip,
// and draws the pointer over it. Used by the thread of the connection.
//
// A source of another size than the frames is drawn into a picture of its own, and scaled from there.
// Pictures have the source's pixel format.
class X11FrameGrabber {
public:
    enum class Cursor { hidden, shown };
    X11FrameGrabber(X11Connection& connection, std::unique_ptr<X11PictureSource> source, PixelSize output,
        int queueDepth, Cursor cursor);
    X11FrameGrabber(const X11FrameGrabber&) = delete;
    X11FrameGrabber& operator=(const X11FrameGrabber&) = delete;

    // Handles the events that have arrived.
    void handleEvents();

    // Whether grab() may have something new to show, as far as events tell.
    bool hasChanges() const;

    // Asks where the pointer is: whether it looks different from the last picture.
    bool cursorHasMoved();

    enum class Result {
        changed, // picture() and changedRects() are new
        unchanged, // nothing looks different
        later, // no picture could be taken: all are in use, or the source is not ready
    };
    Result grab();

    // The last picture taken; null before the first, and after one that was rejected. Shared with the
    // consumers.
    const std::shared_ptr<const FramePicture>& picture() const { return picture_; }

    // Where the last picture differs from the one before.
    const std::vector<PixelRect>& changedRects() const { return changedRects_; }

private:
    bool isScaled() const { return source_->size() != output_; }
    std::optional<Result> tryGrab();
    void takeLayout();
    X11Canvas* acquire();
    void prepare(X11Canvas& canvas) const;
    void requestPicture(X11Canvas& canvas);
    void receivePicture(X11Canvas& canvas);
    void reject(X11Canvas& canvas);
    void addCursorChange(PixelSize size);

    X11Connection& connection_;
    std::unique_ptr<X11PictureSource> source_;
    PixelSize output_;
    std::optional<X11Cursor> cursor_;
    X11FramePool pool_;
    std::unique_ptr<X11Canvas> original_; // the source in its own size, where it is another one
    X11Canvas* current_ = nullptr; // where picture_ lies
    std::shared_ptr<const FramePicture> picture_;
    std::vector<PixelRect> changedRects_;
    X11Region changes_;
    X11Region scratch_;
    xcb_xfixes_fetch_region_cookie_t changesCookie_ = {};
    xcb_xfixes_fetch_region_cookie_t staleCookie_ = {};
    std::uint64_t layout_ = 0;
    bool allChanged_ = true; // the next picture has nothing in common with the last one
    X11Cursor::State drawnCursor_;
    PixelRect drawnCursorRect_;
};

} // namespace glimto
