#include "Backends/X11/Pictures/X11ComposedPicture.h"

#include <utility>

#include <xcb/composite.h>

#include "Backends/X11/Connection/X11AtomNames.h"

namespace glimto {

namespace {

// How long windows get to draw what a hidden one has covered up to now: without a compositing manager the
// server has not kept that.
constexpr std::chrono::milliseconds timeToRepaint{100};

// How long after the last hidden window has gone the screen is not trusted: a compositing manager shows a
// window for some time after the server says that it is gone, fading or shrinking, and longer on a machine
// that is busy. Also keeps a window that comes and goes from changing the way of composing all the time.
constexpr std::chrono::seconds fadingTime{3};

struct Atoms {
    xcb_atom_t compositor = XCB_ATOM_NONE;
    xcb_atom_t rootPixmap = XCB_ATOM_NONE;
    xcb_atom_t clientList = XCB_ATOM_NONE;
    xcb_atom_t clientListStacking = XCB_ATOM_NONE;
};

constexpr X11AtomNames<Atoms, 4> atomNames{{
    {&Atoms::compositor, "_NET_WM_CM_S0"},
    {&Atoms::rootPixmap, "_XROOTPMAP_ID"},
    {&Atoms::clientList, "_NET_CLIENT_LIST"},
    {&Atoms::clientListStacking, "_NET_CLIENT_LIST_STACKING"},
}};

} // namespace

X11ComposedPicture::X11ComposedPicture(X11Connection& connection, const DisplayContentFilter& filter,
    std::optional<Rect> sourceRect, PixelSize output)
    : connection_(connection)
    , plain_(connection, filter.display.displayID, sourceRect, output)
    , applications_(connection, filter)
    , topLevels_(connection)
    , layers_(connection, connection.screen().root_depth)
{
    startExtensions();
    Atoms atoms;
    internAtoms(connection_, atomNames, atoms);
    compositor_ = atoms.compositor;
    rootPixmap_ = atoms.rootPixmap;
    clientList_ = atoms.clientList;
    clientListStacking_ = atoms.clientListStacking;
    learnOfEarlierWindows();
    update();
    if (isComposed_) {
        connection_.requireExtension(xcb_composite_id, "Composite");
        connection_.requireExtension(xcb_render_id, "RENDER");
    }
}

void X11ComposedPicture::startExtensions()
{
    canCompose_ = connection_.hasExtension(xcb_composite_id) && connection_.hasExtension(xcb_render_id);
    if (!canCompose_)
        return;
    const auto composite = xcb_composite_query_version(connection_.xcb(), 0, 4);
    const auto render = xcb_render_query_version(connection_.xcb(), 0, 11);
    connection_.reply<xcb_render_query_version_reply_t>(render);
    connection_.reply<xcb_composite_query_version_reply_t>(composite);
}

X11ComposedPicture::~X11ComposedPicture()
{
    layers_.clear();
    setComposed(false);
}

void X11ComposedPicture::handle(const xcb_generic_event_t& event)
{
    plain_.handle(event);
    layers_.handle(event);
    const int type = event.response_type & 0x7f;
    if (type == XCB_PROPERTY_NOTIFY)
        handleRootProperty(reinterpret_cast<const xcb_property_notify_event_t&>(event));
    if (topLevels_.handle(event) == X11TopLevels::Change::none)
        return;
    mustArrange_ = true;
    if (type == XCB_MAP_NOTIFY) {
        applications_.forget(reinterpret_cast<const xcb_map_notify_event_t&>(event).window);
        mustLearn_ = true;
    }
    // The window is another one's content from now on.
    if (type == XCB_REPARENT_NOTIFY) {
        applications_.forgetAll();
        mustLearn_ = true;
    }
    if (type == XCB_UNMAP_NOTIFY || type == XCB_DESTROY_NOTIFY)
        mustLearn_ = mustLearn_ || isHiding_;
}

void X11ComposedPicture::handleRootProperty(const xcb_property_notify_event_t& event)
{
    if (event.window != connection_.root())
        return;
    if (event.atom == clientList_ || event.atom == clientListStacking_) {
        applications_.forgetUnsure();
        mustLearn_ = true;
    }
    if (event.atom == rootPixmap_)
        layers_.forgetBackground();
}

void X11ComposedPicture::update()
{
    plain_.update();
    learn();
    if (mustBeComposed() != isComposed_)
        setComposed(!isComposed_);
    if (!isComposed_ || !canCompose_ || !std::exchange(mustArrange_, false))
        return;
    layers_.arrange(shownWindows());
    layers_.takePixmaps();
}

// Finds out whether a window is shown that is to be hidden.
void X11ComposedPicture::learn()
{
    if (!std::exchange(mustLearn_, false))
        return;
    topLevels_.update();
    std::vector<xcb_window_t> all;
    std::vector<xcb_window_t> mapped;
    for (const X11TopLevel& each : topLevels_.bottomToTop()) {
        all.push_back(each.window);
        if (each.isMapped && each.hasPicture)
            mapped.push_back(each.window);
    }
    applications_.forgetAllBut(all);
    applications_.learn(mapped);
    const bool wasHiding = isHiding_;
    isHiding_ = false;
    for (const xcb_window_t window : mapped)
        isHiding_ = isHiding_ || applications_.hides(window);
    if (isHiding_ || wasHiding)
        hidUntil_ = Clock::now();
    mustArrange_ = true;
}

// A compositing manager may still show a window that has gone before the first picture.
void X11ComposedPicture::learnOfEarlierWindows()
{
    if (!isComposited())
        return;
    topLevels_.update();
    std::vector<xcb_window_t> all;
    for (const X11TopLevel& each : topLevels_.bottomToTop())
        all.push_back(each.window);
    applications_.learn(all);
    for (const xcb_window_t window : all) {
        if (applications_.hides(window))
            hidUntil_ = Clock::now();
    }
}

bool X11ComposedPicture::mustBeComposed() const
{
    return isHiding_ || (hidUntil_ != Clock::time_point() && Clock::now() < hidUntil_ + fadingTime);
}

void X11ComposedPicture::setComposed(bool isComposed)
{
    if (isComposed_ == isComposed)
        return;
    isComposed_ = isComposed;
    ++timesSwitched_;
    if (!canCompose_)
        return;
    if (!isComposed) {
        layers_.clear();
        layers_.forgetBackground();
        xcb_composite_unredirect_subwindows(
            connection_.xcb(), connection_.root(), XCB_COMPOSITE_REDIRECT_AUTOMATIC);
        return;
    }
    const bool hasAllContents = isComposited();
    xcb_composite_redirect_subwindows(
        connection_.xcb(), connection_.root(), XCB_COMPOSITE_REDIRECT_AUTOMATIC);
    readyAt_ = Clock::now() + (hasAllContents ? std::chrono::milliseconds(0) : timeToRepaint);
    mustArrange_ = true;
}

std::vector<X11TopLevel> X11ComposedPicture::shownWindows() const
{
    std::vector<X11TopLevel> shown;
    for (const X11TopLevel& each : topLevels_.bottomToTop()) {
        if (each.isMapped && each.hasPicture && applications_.shows(each.window))
            shown.push_back(each);
    }
    return shown;
}

bool X11ComposedPicture::isComposited()
{
    const auto owner = connection_.reply<xcb_get_selection_owner_reply_t>(
        xcb_get_selection_owner(connection_.xcb(), compositor_));
    return owner && owner->owner != XCB_WINDOW_NONE;
}

bool X11ComposedPicture::hasChanges() const
{
    if (mustLearn_ || mustBeComposed() != isComposed_)
        return true;
    if (!isComposed_)
        return plain_.hasChanges();
    return mustArrange_ || plain_.mayBeElsewhere() || layers_.hasChanges();
}

bool X11ComposedPicture::isReady() const
{
    return !isComposed_ || (canCompose_ && Clock::now() >= readyAt_);
}

// What has come since the picture was asked for was perhaps already on it.
bool X11ComposedPicture::approvesPicture()
{
    if (!mustLearn_)
        return true;
    learn();
    if (!isComposed_)
        return !isHiding_;
    return layers_.allOf([&](xcb_window_t window) { return !applications_.hides(window); });
}

void X11ComposedPicture::requestChanges(xcb_xfixes_region_t changes)
{
    if (isComposed_)
        layers_.requestChanges(changes, plain_.area());
    else
        plain_.requestChanges(changes);
}

void X11ComposedPicture::requestCopy(xcb_pixmap_t target, xcb_xfixes_region_t clip)
{
    if (isComposed_)
        layers_.draw(target, clip, plain_.area(), plain_.rootSize());
    else
        plain_.requestCopy(target, clip);
}

} // namespace glimto
