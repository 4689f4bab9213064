#include "Backends/X11/Pictures/X11FrameGrabber.h"

#include <utility>

#include "Backends/Streams/PictureScaling.h"

namespace glimto {

namespace {

// More rectangles cost consumers more than the pixels between them.
constexpr std::size_t mostChangedRects = 64;

constexpr int mostAttempts = 3;

// Draws all of `from` into `to`, as large as fits with its aspect ratio kept; what it leaves free is not
// touched.
void scaleToFit(const PixelBuffer& from, const PixelCanvas& to)
{
    const PixelCanvas target = to.part(aspectFitRect({from.width, from.height}, {to.width, to.height}));
    const bool isPlain = servesAs(to.format, PixelFormat::xrgb8888);
    const PixelCanvas scaled = isPlain ? target : makeCanvas(target.width, target.height);
    scalePixels(inFormat(from, PixelFormat::xrgb8888), scaled);
    if (!isPlain)
        convertPixels(scaled, target);
}

} // namespace

X11FrameGrabber::X11FrameGrabber(X11Connection& connection, std::unique_ptr<X11PictureSource> source,
    PixelSize output, int queueDepth, Cursor cursor)
    : connection_(connection)
    , source_(std::move(source))
    , output_(output)
    , pool_(connection, output, source_->depth(), source_->format(), queueDepth + 1)
    , changes_(makeX11Region(connection))
    , scratch_(makeX11Region(connection))
{
    if (cursor == Cursor::shown)
        cursor_.emplace(connection);
}

void X11FrameGrabber::handleEvents()
{
    while (const auto event = connection_.pollEvent()) {
        // Errors arrive as events of type 0: a window that went away while it was copied, say. The event
        // that tells of it follows.
        if (event->response_type == 0)
            continue;
        source_->handle(*event);
        if (cursor_)
            cursor_->handle(*event);
    }
}

bool X11FrameGrabber::hasChanges() const
{
    // A new shape is asked for only where it can be seen.
    const bool hasNewCursor = cursor_ && cursor_->hasNewShape() && source_->place();
    return allChanged_ || hasNewCursor || source_->hasChanges();
}

bool X11FrameGrabber::cursorHasMoved()
{
    const auto place = source_->place();
    if (!cursor_ || !place)
        return false;
    cursor_->request(*place);
    cursor_->receive();
    return cursor_->state() != drawnCursor_
        && !(cursor_->rect(source_->size()).isEmpty() && drawnCursorRect_.isEmpty());
}

X11FrameGrabber::Result X11FrameGrabber::grab()
{
    // What a source rejects is seldom out of date a second time.
    for (int attempt = 0; attempt < mostAttempts; ++attempt) {
        if (const auto result = tryGrab())
            return *result;
    }
    return Result::later;
}

// Nothing when the source has rejected the picture.
std::optional<X11FrameGrabber::Result> X11FrameGrabber::tryGrab()
{
    source_->update();
    takeLayout();
    if (!source_->isReady())
        return Result::later;
    X11Canvas* canvas = acquire();
    if (!canvas)
        return Result::later;

    X11Canvas& drawn = original_ ? *original_ : *canvas;
    requestPicture(drawn);
    receivePicture(drawn);
    handleEvents();
    if (!source_->approvesPicture()) {
        reject(drawn);
        return std::nullopt;
    }
    if (cursor_)
        addCursorChange(drawn.size());
    if (cursor_ && !drawnCursorRect_.isEmpty())
        cursor_->draw(drawn);
    const bool isNew = !changedRects_.empty();
    if (isNew && (isScaled() || allChanged_))
        changedRects_ = {wholeOf(output_)};
    if (isNew && original_)
        scaleToFit(drawn.pixels(), canvas->pixels());
    // A canvas that was drawn into holds the picture even if nothing in it is new; another one was not filled
    // then.
    if (isNew || !original_)
        current_ = canvas;
    picture_ = X11FramePool::lease(*current_);
    allChanged_ = false;
    return isNew ? Result::changed : Result::unchanged;
}

// Everything that was drawn for another layout is of no use.
void X11FrameGrabber::takeLayout()
{
    if (layout_ == source_->layout())
        return;
    layout_ = source_->layout();
    allChanged_ = true;
    original_.reset();
    if (!isScaled())
        return;
    original_
        = std::make_unique<X11Canvas>(connection_, source_->size(), source_->depth(), source_->format());
    original_->layout = layout_;
}

X11Canvas* X11FrameGrabber::acquire()
{
    // Drawing over the last picture once nobody else holds it saves memory and bringing the same change
    // into several pictures.
    picture_.reset();
    X11Canvas* canvas = pool_.acquire(current_);
    if (!canvas) {
        if (current_ && !picture_)
            picture_ = X11FramePool::lease(*current_);
        return nullptr;
    }
    prepare(*canvas);
    return canvas;
}

void X11FrameGrabber::prepare(X11Canvas& canvas) const
{
    if (canvas.layout == layout_)
        return;
    if (canvas.layout != 0)
        canvas.clear();
    canvas.setAllStale();
    canvas.layout = layout_;
}

void X11FrameGrabber::requestPicture(X11Canvas& canvas)
{
    xcb_connection_t* xcb = connection_.xcb();
    source_->requestChanges(changes_);
    if (allChanged_) {
        const xcb_rectangle_t whole = xcbRectangle(wholeOf(canvas.size()));
        xcb_xfixes_set_region(xcb, changes_, 1, &whole);
    }
    if (original_) {
        xcb_xfixes_union_region(xcb, original_->stale(), changes_, original_->stale());
    } else {
        for (const auto& each : pool_.canvases())
            xcb_xfixes_union_region(xcb, each->stale(), changes_, each->stale());
    }
    if (!canvas.cursorRect.isEmpty()) {
        const xcb_rectangle_t rect = xcbRectangle(canvas.cursorRect);
        xcb_xfixes_set_region(xcb, scratch_, 1, &rect);
        xcb_xfixes_union_region(xcb, canvas.stale(), scratch_, canvas.stale());
        canvas.cursorRect = {};
    }
    source_->requestCopy(canvas.pixmap(), canvas.stale());
    if (!canvas.isShared())
        staleCookie_ = xcb_xfixes_fetch_region(xcb, canvas.stale());
    xcb_xfixes_set_region(xcb, canvas.stale(), 0, nullptr);
    if (const auto place = source_->place(); cursor_ && place)
        cursor_->request(*place);
    changesCookie_ = xcb_xfixes_fetch_region(xcb, changes_);
}

void X11FrameGrabber::receivePicture(X11Canvas& canvas)
{
    // The answer to the last request says that all before it is done.
    const auto reply = connection_.reply<xcb_xfixes_fetch_region_reply_t>(changesCookie_);
    if (cursor_ && source_->place())
        cursor_->receive();
    if (!canvas.isShared()) {
        const auto stale = connection_.reply<xcb_xfixes_fetch_region_reply_t>(staleCookie_);
        for (const PixelRect& rect : coalesced(pixelRects(stale.get()), mostChangedRects))
            canvas.fetch(rect);
    }
    changedRects_ = coalesced(pixelRects(reply.get()), mostChangedRects);
}

// What must not be shown was drawn over the last picture, if it was that one's canvas.
void X11FrameGrabber::reject(X11Canvas& canvas)
{
    if (&canvas == current_)
        current_ = nullptr;
    picture_ = current_ ? X11FramePool::lease(*current_) : nullptr;
    canvas.setAllStale();
    allChanged_ = true;
    changedRects_.clear();
}

void X11FrameGrabber::addCursorChange(PixelSize size)
{
    const PixelRect rect = source_->place() ? cursor_->rect(size) : PixelRect{};
    if (cursor_->state() == drawnCursor_ && rect == drawnCursorRect_)
        return;
    for (const PixelRect& each : {drawnCursorRect_, rect}) {
        if (!each.isEmpty())
            changedRects_.push_back(each);
    }
    drawnCursor_ = cursor_->state();
    drawnCursorRect_ = rect;
}

} // namespace glimto
