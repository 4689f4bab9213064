#include "Backends/X11/Pictures/X11ComposedPicture.h"

#include <algorithm>
#include <utility>

#include <xcb/composite.h>

namespace glimto {

namespace {

// How long the windows below a hidden one get to draw what it has covered up to now: the server has
// not kept that.
constexpr std::chrono::milliseconds timeToRepaint{100};

// How far a compositing manager's shadows reach out of a window, in pixels, and how long it shows one
// that is no longer there.
constexpr int shadowMargin = 32;
constexpr std::chrono::milliseconds fadingTime{500};

std::int16_t coordinate(int value)
{
    return static_cast<std::int16_t>(value);
}

xcb_xfixes_region_t makeRegion(X11Connection& connection)
{
    const xcb_xfixes_region_t region = xcb_generate_id(connection.xcb());
    xcb_xfixes_create_region(connection.xcb(), region, 0, nullptr);
    return region;
}

void setRects(X11Connection& connection, xcb_xfixes_region_t region, const std::vector<PixelRect>& rects)
{
    std::vector<xcb_rectangle_t> rectangles;
    for (const PixelRect& rect : rects)
        rectangles.push_back(xcbRectangle(rect));
    xcb_xfixes_set_region(
        connection.xcb(), region, static_cast<std::uint32_t>(rectangles.size()), rectangles.data());
}

xcb_atom_t atom(X11Connection& connection, xcb_intern_atom_cookie_t cookie)
{
    const auto reply = connection.reply<xcb_intern_atom_reply_t>(cookie);
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

bool looksTheSame(const X11TopLevel& a, const X11TopLevel& b)
{
    return a.window == b.window && a.outline == b.outline && a.border == b.border;
}

} // namespace

X11ComposedPicture::Layer::Layer(X11Connection& theConnection, const X11TopLevel& theTopLevel)
    : connection(theConnection)
    , topLevel(theTopLevel)
    , damage(theConnection, theTopLevel.window)
{
    takePixmap();
}

X11ComposedPicture::Layer::~Layer()
{
    if (picture != XCB_NONE)
        xcb_render_free_picture(connection.xcb(), picture);
    xcb_free_pixmap(connection.xcb(), pixmap);
}

void X11ComposedPicture::Layer::takePixmap()
{
    if (picture != XCB_NONE)
        xcb_render_free_picture(connection.xcb(), std::exchange(picture, xcb_render_picture_t{XCB_NONE}));
    if (pixmap != XCB_NONE)
        xcb_free_pixmap(connection.xcb(), pixmap);
    pixmap = xcb_generate_id(connection.xcb());
    xcb_composite_name_window_pixmap(connection.xcb(), topLevel.window, pixmap);
}

X11ComposedPicture::X11ComposedPicture(X11Connection& connection, const DisplayContentFilter& filter,
    std::optional<Rect> sourceRect, PixelSize output)
    : connection_(connection)
    , plain_(connection, filter.display.displayID, sourceRect, output)
    , applications_(connection, filter.excludedApplications, filter.exceptingWindows)
    , topLevels_(connection)
    , background_(connection)
{
    connection_.requireExtension(xcb_composite_id, "Composite");
    connection_.requireExtension(xcb_render_id, "RENDER");
    xcb_connection_t* xcb = connection_.xcb();
    const auto composite = xcb_composite_query_version(xcb, 0, 4);
    const auto render = xcb_render_query_version(xcb, 0, 11);
    const auto compositor = xcb_intern_atom(xcb, false, 13, "_NET_WM_CM_S0");
    const auto rootPixmap = xcb_intern_atom(xcb, false, 13, "_XROOTPMAP_ID");
    const auto clientList = xcb_intern_atom(xcb, false, 16, "_NET_CLIENT_LIST");
    const auto stacking = xcb_intern_atom(xcb, false, 25, "_NET_CLIENT_LIST_STACKING");
    clientListStacking_ = atom(connection_, stacking);
    clientList_ = atom(connection_, clientList);
    rootPixmap_ = atom(connection_, rootPixmap);
    compositor_ = atom(connection_, compositor);
    connection_.reply<xcb_render_query_version_reply_t>(render);
    connection_.reply<xcb_composite_query_version_reply_t>(composite);
    context_ = makeCopyContext(connection_, depth());
    for (xcb_xfixes_region_t* region : {&hidden_, &redraw_, &part_, &shape_})
        *region = makeRegion(connection_);
    update();
}

X11ComposedPicture::~X11ComposedPicture()
{
    layers_.clear();
    setRedirected(false);
    for (const xcb_xfixes_region_t region : {hidden_, redraw_, part_, shape_})
        xcb_xfixes_destroy_region(connection_.xcb(), region);
    xcb_free_gc(connection_.xcb(), context_);
}

void X11ComposedPicture::handle(const xcb_generic_event_t& event)
{
    plain_.handle(event);
    for (const auto& layer : layers_) {
        if (layer->damage.handle(event))
            return;
    }
    const int type = event.response_type & 0x7f;
    if (type == XCB_PROPERTY_NOTIFY)
        handleRootProperty(reinterpret_cast<const xcb_property_notify_event_t&>(event));
    const auto change = topLevels_.handle(event);
    if (change == X11TopLevels::Change::none)
        return;
    mayBeArrangedAnew_ = true;
    noteNewPixmaps(event);
    if (type == XCB_MAP_NOTIFY) {
        applications_.forget(reinterpret_cast<const xcb_map_notify_event_t&>(event).window);
        mayShowHidden_ = true;
    }
    if (type == XCB_CONFIGURE_NOTIFY
        && applications_.hides(reinterpret_cast<const xcb_configure_notify_event_t&>(event).window))
        mayShowHidden_ = true;
}

void X11ComposedPicture::handleRootProperty(const xcb_property_notify_event_t& event)
{
    if (event.window != connection_.root())
        return;
    if (event.atom == clientList_ || event.atom == clientListStacking_) {
        applications_.forgetUnsure();
        mayBeArrangedAnew_ = true;
    }
    if (event.atom == rootPixmap_) {
        background_.forget();
        redrawHidden();
    }
}

// A window that is shown again or gets another size draws into a new pixmap, also when it looks as before
// by the time of the next arrangement.
void X11ComposedPicture::noteNewPixmaps(const xcb_generic_event_t& event)
{
    const int type = event.response_type & 0x7f;
    for (const auto& layer : layers_) {
        const X11TopLevel& known = layer->topLevel;
        if (type == XCB_MAP_NOTIFY) {
            if (reinterpret_cast<const xcb_map_notify_event_t&>(event).window == known.window)
                layer->hasNewPixmap = true;
        } else if (type == XCB_CONFIGURE_NOTIFY) {
            const auto& configured = reinterpret_cast<const xcb_configure_notify_event_t&>(event);
            if (configured.window == known.window
                && (configured.width + 2 * configured.border_width != known.outline.width
                    || configured.height + 2 * configured.border_width != known.outline.height))
                layer->hasNewPixmap = true;
        }
    }
}

void X11ComposedPicture::update()
{
    plain_.update();
    if (mayBeArrangedAnew_ || arrangedLayout_ != plain_.layout()
        || hiddenWindows_.hasExpired(std::chrono::steady_clock::now()))
        arrange();
}

void X11ComposedPicture::arrange()
{
    mayBeArrangedAnew_ = mayShowHidden_ = false;
    arrangedLayout_ = plain_.layout();
    topLevels_.update();
    std::vector<xcb_window_t> all;
    std::vector<xcb_window_t> mapped;
    for (const auto& each : topLevels_.bottomToTop()) {
        all.push_back(each.window);
        if (each.isMapped && each.hasPicture)
            mapped.push_back(each.window);
    }
    applications_.forgetAllBut(all);
    applications_.learn(mapped);

    const bool hasCompositor = isComposited();
    auto hidden = hiddenWindows_.update(hiddenRects(hasCompositor ? shadowMargin : 0),
        std::chrono::steady_clock::now(), hasCompositor ? fadingTime : std::chrono::milliseconds(0));
    setRedirected(!hidden.empty());
    if (hidden != hiddenRects_) {
        redrawHidden();
        hiddenRects_ = std::move(hidden);
        setRects(connection_, hidden_, hiddenRects_);
        redrawHidden();
    }
    takeLayers(hiddenRects_);
}

bool X11ComposedPicture::isComposited()
{
    const auto owner = connection_.reply<xcb_get_selection_owner_reply_t>(
        xcb_get_selection_owner(connection_.xcb(), compositor_));
    return owner && owner->owner != XCB_WINDOW_NONE;
}

// What the hidden windows cover of the picture.
std::vector<PixelRect> X11ComposedPicture::hiddenRects(int margin) const
{
    std::vector<PixelRect> rects;
    const PixelRect& area = plain_.area();
    for (const auto& each : topLevels_.bottomToTop()) {
        if (!each.isMapped || !each.hasPicture || !applications_.hides(each.window))
            continue;
        PixelRect rect = intersection({each.outline.x - margin, each.outline.y - margin,
                                          each.outline.width + 2 * margin, each.outline.height + 2 * margin},
            area);
        if (rect.isEmpty())
            continue;
        rect.x -= area.x;
        rect.y -= area.y;
        rects.push_back(rect);
    }
    return rects;
}

void X11ComposedPicture::setRedirected(bool isRedirected)
{
    if (isRedirected_ == isRedirected)
        return;
    isRedirected_ = isRedirected;
    if (isRedirected) {
        xcb_composite_redirect_subwindows(
            connection_.xcb(), connection_.root(), XCB_COMPOSITE_REDIRECT_AUTOMATIC);
        readyAt_ = std::chrono::steady_clock::now() + timeToRepaint;
    } else {
        xcb_composite_unredirect_subwindows(
            connection_.xcb(), connection_.root(), XCB_COMPOSITE_REDIRECT_AUTOMATIC);
        background_.forget();
    }
}

void X11ComposedPicture::redrawHidden()
{
    if (hiddenRects_.empty())
        return;
    xcb_xfixes_union_region(connection_.xcb(), redraw_, hidden_, redraw_);
    mustRedraw_ = true;
}

void X11ComposedPicture::takeLayers(const std::vector<PixelRect>& hidden)
{
    const PixelRect& area = plain_.area();
    std::vector<std::unique_ptr<Layer>> layers;
    bool isSame = true;
    for (const auto& each : topLevels_.bottomToTop()) {
        const bool isSeen = std::any_of(hidden.begin(), hidden.end(), [&](const PixelRect& rect) {
            return !intersection(each.outline, {rect.x + area.x, rect.y + area.y, rect.width, rect.height})
                        .isEmpty();
        });
        if (!isSeen || !each.isMapped || !each.hasPicture || applications_.hides(each.window))
            continue;
        const auto old = std::find_if(layers_.begin(), layers_.end(),
            [&](const auto& layer) { return layer && layer->topLevel.window == each.window; });
        if (old == layers_.end()) {
            isSame = false;
            layers.push_back(std::make_unique<Layer>(connection_, each));
            continue;
        }
        const auto index = static_cast<std::size_t>(old - layers_.begin());
        Layer& layer = **old;
        const bool hasNewPixmap = std::exchange(layer.hasNewPixmap, false)
            || layer.topLevel.outline.width != each.outline.width
            || layer.topLevel.outline.height != each.outline.height;
        isSame = isSame && !hasNewPixmap && index == layers.size() && looksTheSame(layer.topLevel, each);
        layer.topLevel = each;
        if (hasNewPixmap)
            layer.takePixmap();
        layers.push_back(std::move(*old));
    }
    if (!isSame || layers.size() != layers_.size())
        redrawHidden();
    layers_ = std::move(layers);
}

bool X11ComposedPicture::hasChanges() const
{
    return mayBeArrangedAnew_ || mustRedraw_ || hiddenWindows_.hasExpired(std::chrono::steady_clock::now())
        || plain_.hasChanges() || std::any_of(layers_.begin(), layers_.end(), [](const auto& layer) {
               return layer->damage.isPending();
           });
}

bool X11ComposedPicture::isReady() const
{
    return !isRedirected_ || std::chrono::steady_clock::now() >= readyAt_;
}

void X11ComposedPicture::requestChanges(xcb_xfixes_region_t changes)
{
    xcb_connection_t* xcb = connection_.xcb();
    plain_.requestChanges(changes);
    if (!hiddenRects_.empty())
        xcb_xfixes_subtract_region(xcb, changes, hidden_, changes);
    for (const auto& layer : layers_) {
        if (!layer->damage.isPending())
            continue;
        const X11TopLevel& topLevel = layer->topLevel;
        layer->damage.requestTake(part_);
        xcb_xfixes_translate_region(xcb, part_,
            coordinate(topLevel.outline.x + topLevel.border - plain_.area().x),
            coordinate(topLevel.outline.y + topLevel.border - plain_.area().y));
        xcb_xfixes_intersect_region(xcb, part_, hidden_, part_);
        xcb_xfixes_union_region(xcb, changes, part_, changes);
    }
    if (std::exchange(mustRedraw_, false)) {
        xcb_xfixes_union_region(xcb, changes, redraw_, changes);
        xcb_xfixes_set_region(xcb, redraw_, 0, nullptr);
    }
}

void X11ComposedPicture::requestCopy(xcb_pixmap_t target, xcb_xfixes_region_t clip)
{
    if (hiddenRects_.empty()) {
        plain_.requestCopy(target, clip);
        return;
    }
    xcb_xfixes_subtract_region(connection_.xcb(), clip, hidden_, part_);
    plain_.requestCopy(target, part_);
    xcb_xfixes_intersect_region(connection_.xcb(), clip, hidden_, part_);
    compose(target);
}

// Draws the part `part_` of the picture.
void X11ComposedPicture::compose(xcb_pixmap_t target)
{
    xcb_connection_t* xcb = connection_.xcb();
    const PixelRect& area = plain_.area();
    const xcb_pixmap_t background = background_.pixmap(plain_.rootSize());
    xcb_xfixes_set_gc_clip_region(xcb, context_, part_, 0, 0);
    xcb_copy_area(xcb, background, target, context_, coordinate(area.x), coordinate(area.y), 0, 0,
        static_cast<std::uint16_t>(area.width), static_cast<std::uint16_t>(area.height));
    xcb_render_picture_t targetPicture = XCB_NONE;
    for (const auto& layer : layers_) {
        if (layer->topLevel.depth != depth() && targetPicture == XCB_NONE) {
            readFormats();
            targetPicture = xcb_generate_id(xcb);
            xcb_render_create_picture(
                xcb, targetPicture, target, format(connection_.screen().root_visual), 0, nullptr);
        }
        if (layer->picture == XCB_NONE && layer->topLevel.depth != depth()) {
            layer->picture = xcb_generate_id(xcb);
            xcb_render_create_picture(
                xcb, layer->picture, layer->pixmap, format(layer->topLevel.visual), 0, nullptr);
        }
        drawLayer(*layer, target, targetPicture);
    }
    if (targetPicture != XCB_NONE)
        xcb_render_free_picture(xcb, targetPicture);
}

void X11ComposedPicture::drawLayer(
    const Layer& layer, xcb_pixmap_t target, xcb_render_picture_t targetPicture)
{
    xcb_connection_t* xcb = connection_.xcb();
    const X11TopLevel& topLevel = layer.topLevel;
    const std::int16_t x = coordinate(topLevel.outline.x - plain_.area().x);
    const std::int16_t y = coordinate(topLevel.outline.y - plain_.area().y);
    const auto width = static_cast<std::uint16_t>(topLevel.outline.width);
    const auto height = static_cast<std::uint16_t>(topLevel.outline.height);
    // The window's own outline, which need not be a rectangle.
    xcb_xfixes_destroy_region(xcb, shape_);
    xcb_xfixes_create_region_from_window(xcb, shape_, topLevel.window, XCB_SHAPE_SK_BOUNDING);
    xcb_xfixes_translate_region(
        xcb, shape_, coordinate(x + topLevel.border), coordinate(y + topLevel.border));
    xcb_xfixes_intersect_region(xcb, shape_, part_, shape_);
    // The first clip of each pair stands if the window has vanished meanwhile and has no outline.
    if (layer.picture != XCB_NONE) {
        xcb_xfixes_set_picture_clip_region(xcb, targetPicture, part_, 0, 0);
        xcb_xfixes_set_picture_clip_region(xcb, targetPicture, shape_, 0, 0);
        xcb_render_composite(xcb, XCB_RENDER_PICT_OP_OVER, layer.picture, XCB_NONE, targetPicture, 0, 0, 0, 0,
            x, y, width, height);
        return;
    }
    xcb_xfixes_set_gc_clip_region(xcb, context_, part_, 0, 0);
    xcb_xfixes_set_gc_clip_region(xcb, context_, shape_, 0, 0);
    xcb_copy_area(xcb, layer.pixmap, target, context_, 0, 0, x, y, width, height);
}

void X11ComposedPicture::readFormats()
{
    if (formats_)
        return;
    xcb_connection_t* xcb = connection_.xcb();
    formats_ = connection_.reply<xcb_render_query_pict_formats_reply_t>(xcb_render_query_pict_formats(xcb));
}

xcb_render_pictformat_t X11ComposedPicture::format(xcb_visualid_t visual) const
{
    if (!formats_)
        return XCB_NONE;
    for (auto screen = xcb_render_query_pict_formats_screens_iterator(formats_.get()); screen.rem > 0;
         xcb_render_pictscreen_next(&screen)) {
        for (auto depth = xcb_render_pictscreen_depths_iterator(screen.data); depth.rem > 0;
             xcb_render_pictdepth_next(&depth)) {
            for (auto each = xcb_render_pictdepth_visuals_iterator(depth.data); each.rem > 0;
                 xcb_render_pictvisual_next(&each)) {
                if (each.data->visual == visual)
                    return each.data->format;
            }
        }
    }
    return XCB_NONE;
}

} // namespace glimto
