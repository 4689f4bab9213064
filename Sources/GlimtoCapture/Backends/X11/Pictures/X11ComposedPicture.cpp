#include <chrono>
#include <utility>

#include <xcb/composite.h>

#include "Backends/X11/Connection/X11AtomNames.h"
#include "Backends/X11/Pictures/X11ContentPicture.h"
#include "Backends/X11/Pictures/X11DisplayPicture.h"
#include "Backends/X11/Pictures/X11WindowLayers.h"
#include "Backends/X11/Windows/X11HiddenApplications.h"
#include "Backends/X11/Windows/X11TopLevels.h"
#include "Support/HostClock.h"

namespace glimto {

namespace {

// How long windows get to draw what a hidden one has covered up to now: without a compositing manager the
// server has not kept that.
constexpr std::chrono::milliseconds timeToRepaint{100};

// How long after the last hidden window has gone the screen is not trusted: a compositing manager shows a
// window for some time after the server says that it is gone, fading or shrinking, and longer on a machine
// that is busy. Also keeps a window that comes and goes from changing the way of composing all the time.
constexpr std::chrono::seconds fadingTime{3};

struct AtomNames : X11AtomSet {
    using X11AtomSet::X11AtomSet;

    X11Atom compositor{*this, "_NET_WM_CM_S0"}; // the selection that a compositing manager owns
    X11Atom rootPixmap{*this, "_XROOTPMAP_ID"};
    X11Atom clientList{*this, "_NET_CLIENT_LIST"};
    X11Atom clientListStacking{*this, "_NET_CLIENT_LIST_STACKING"};
};

class X11ComposedPicture : public X11PictureSource {
public:
    X11ComposedPicture(X11Connection& connection, const DisplayContentFilter& filter,
        std::optional<Rect> sourceRect, PixelSize output)
        : connection_(connection)
        , plain_(connection, filter.display.displayID, sourceRect, output)
        , applications_(connection, filter)
        , topLevels_(connection)
        , atoms_(connection)
        , layers_(connection, connection.screen().root_depth, atoms_.rootPixmap)
    {
        startExtensions();
        learnOfEarlierWindows();
        update();
        if (isComposed_) {
            connection_.requireExtension(xcb_composite_id, "Composite");
            connection_.requireExtension(xcb_render_id, "RENDER");
        }
    }

    ~X11ComposedPicture() override
    {
        layers_.clear();
        setComposed(false);
    }

    PixelSize size() const override { return plain_.size(); }
    std::uint8_t depth() const override { return plain_.depth(); }
    X11PixelFormat format() const override { return plain_.format(); }
    std::uint64_t layout() const override { return plain_.layout() + timesSwitched_; }

    void handle(const xcb_generic_event_t& event) override
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

    void update() override
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

    bool hasChanges() const override
    {
        if (mustLearn_ || mustBeComposed() != isComposed_)
            return true;
        if (!isComposed_)
            return plain_.hasChanges();
        return mustArrange_ || plain_.mayBeElsewhere() || layers_.hasChanges();
    }

    bool isReady() const override { return !isComposed_ || (canCompose_ && HostClock::now() >= readyAt_); }

    // What has come since the picture was asked for was perhaps already on it.
    bool approvesPicture() override
    {
        if (!mustLearn_)
            return true;
        learn();
        if (!isComposed_)
            return !isHiding_;
        return layers_.allOf([&](xcb_window_t window) { return !applications_.hides(window); });
    }

    void requestChanges(xcb_xfixes_region_t changes) override
    {
        if (isComposed_)
            layers_.requestChanges(changes, plain_.area());
        else
            plain_.requestChanges(changes);
    }

    void requestCopy(xcb_pixmap_t target, xcb_xfixes_region_t clip) override
    {
        if (isComposed_)
            layers_.draw(target, clip, plain_.area(), plain_.rootSize());
        else
            plain_.requestCopy(target, clip);
    }

    std::optional<Place> place() const override { return plain_.place(); }

private:
    void startExtensions()
    {
        canCompose_ = connection_.hasExtension(xcb_composite_id) && connection_.hasExtension(xcb_render_id);
        if (!canCompose_)
            return;
        const auto composite = xcb_composite_query_version(connection_.xcb(), 0, 4);
        const auto render = xcb_render_query_version(connection_.xcb(), 0, 11);
        connection_.reply<xcb_render_query_version_reply_t>(render);
        connection_.reply<xcb_composite_query_version_reply_t>(composite);
    }

    void handleRootProperty(const xcb_property_notify_event_t& event)
    {
        if (event.window != connection_.root())
            return;
        if (event.atom == atoms_.clientList || event.atom == atoms_.clientListStacking) {
            applications_.forgetUnsure();
            mustLearn_ = true;
        }
        if (event.atom == atoms_.rootPixmap)
            layers_.forgetBackground();
    }

    // Finds out whether a window is shown that is to be hidden.
    void learn()
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
            hidUntil_ = HostClock::now();
        mustArrange_ = true;
    }

    // A compositing manager may still show a window that has gone before the first picture.
    void learnOfEarlierWindows()
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
                hidUntil_ = HostClock::now();
        }
    }

    bool mustBeComposed() const
    {
        return isHiding_ || (hidUntil_ != HostTime() && HostClock::now() < hidUntil_ + fadingTime);
    }

    void setComposed(bool isComposed)
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
        readyAt_ = HostClock::now() + (hasAllContents ? std::chrono::milliseconds(0) : timeToRepaint);
        mustArrange_ = true;
    }

    std::vector<X11TopLevel> shownWindows() const
    {
        std::vector<X11TopLevel> shown;
        for (const X11TopLevel& each : topLevels_.bottomToTop()) {
            if (each.isMapped && each.hasPicture && applications_.shows(each.window))
                shown.push_back(each);
        }
        return shown;
    }

    bool isComposited()
    {
        const auto owner = connection_.reply<xcb_get_selection_owner_reply_t>(
            xcb_get_selection_owner(connection_.xcb(), atoms_.compositor));
        return owner && owner->owner != XCB_WINDOW_NONE;
    }

    X11Connection& connection_;
    X11DisplayPicture plain_;
    X11HiddenApplications applications_;
    X11TopLevels topLevels_;
    X11Interned<AtomNames> atoms_;
    X11WindowLayers layers_;

    bool mustLearn_ = true; // a window may have come that is to be hidden
    bool mustArrange_ = true; // windows lie otherwise than the layers
    bool isHiding_ = false; // a window that is to be hidden is shown
    HostTime hidUntil_; // when the last one was last shown, while none is
    bool canCompose_ = false;
    bool isComposed_ = false;
    std::uint64_t timesSwitched_ = 0;
    HostTime readyAt_;
};

} // namespace

std::unique_ptr<X11PictureSource> makeX11ComposedPicture(X11Connection& connection,
    const DisplayContentFilter& filter, std::optional<Rect> sourceRect, PixelSize output)
{
    return std::make_unique<X11ComposedPicture>(connection, filter, sourceRect, output);
}

} // namespace glimto
