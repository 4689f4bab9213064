#include "Backends/X11/Pictures/X11WindowLayers.h"

#include <algorithm>
#include <limits>
#include <utility>

#include <xcb/composite.h>
#include <xcb/shape.h>

#include "Backends/X11/Connection/X11Property.h"
#include "Backends/X11/Connection/X11Regions.h"

namespace glimto {

namespace {

// More than the root window can have: all of the picture.
constexpr PixelRect everything{-32768, -32768, 65535, 65535};

std::int16_t coordinate(int value)
{
    return static_cast<std::int16_t>(value);
}

bool looksTheSame(const X11TopLevel& a, const X11TopLevel& b)
{
    return a.outline == b.outline && a.border == b.border;
}

} // namespace

X11RootBackground::X11RootBackground(X11Connection& connection, xcb_atom_t announced)
    : connection_(connection)
    , announced_(announced)
{
}

// No request reads a window's background. But the server paints it into a window that takes its
// background from the root; redirected by hand and without shape for input, that window is never seen
// or felt, and its picture stays when the window is gone again.
xcb_pixmap_t X11RootBackground::pixmap(PixelSize rootSize)
{
    if (pixmap_ != XCB_NONE && size_ == rootSize)
        return pixmap_;
    forget();
    xcb_connection_t* xcb = connection_.xcb();
    const xcb_window_t window = xcb_generate_id(xcb);
    const std::uint32_t values[] = {XCB_BACK_PIXMAP_PARENT_RELATIVE, 1};
    xcb_create_window(xcb, XCB_COPY_FROM_PARENT, window, connection_.root(), 0, 0,
        static_cast<std::uint16_t>(rootSize.width), static_cast<std::uint16_t>(rootSize.height), 0,
        XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXMAP | XCB_CW_OVERRIDE_REDIRECT,
        values);
    if (connection_.hasExtension(xcb_shape_id))
        xcb_shape_rectangles(
            xcb, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT, XCB_CLIP_ORDERING_UNSORTED, window, 0, 0, 0, nullptr);
    xcb_composite_redirect_window(xcb, window, XCB_COMPOSITE_REDIRECT_MANUAL);
    const std::uint32_t below = XCB_STACK_MODE_BELOW;
    xcb_configure_window(xcb, window, XCB_CONFIG_WINDOW_STACK_MODE, &below);
    xcb_map_window(xcb, window);
    size_ = rootSize;
    paint(window);
    pixmap_ = X11Pixmap(connection_);
    xcb_composite_name_window_pixmap(xcb, window, pixmap_);
    xcb_destroy_window(xcb, window);
    return pixmap_;
}

// A new window holds what the screen shows in its place, and a root without a background, as compositing
// managers make it, would leave it there. So it is painted with what these show instead: the picture that
// was announced to them, or grey.
void X11RootBackground::paint(xcb_window_t window)
{
    xcb_connection_t* xcb = connection_.xcb();
    const xcb_rectangle_t whole = xcbRectangle(wholeOf(size_));
    const X11GraphicsContext grey(connection_);
    const std::uint32_t foreground = 0x808080;
    xcb_create_gc(xcb, grey, window, XCB_GC_FOREGROUND, &foreground);
    xcb_poly_fill_rectangle(xcb, window, grey, 1, &whole);
    const auto announced = X11Property::read(connection_, connection_.root(), announced_);
    const xcb_pixmap_t pixmap = announced.firstNumber().value_or(XCB_NONE);
    if (announced.type() == XCB_ATOM_PIXMAP && pixmap != XCB_NONE) {
        const X11GraphicsContext tiled(connection_);
        const std::uint32_t values[] = {XCB_FILL_STYLE_TILED, pixmap};
        xcb_create_gc(xcb, tiled, window, XCB_GC_FILL_STYLE | XCB_GC_TILE, values);
        xcb_poly_fill_rectangle(xcb, window, tiled, 1, &whole);
    }
    // The root's own background over all that, if it has one.
    xcb_clear_area(xcb, 0, window, 0, 0, 0, 0);
}

X11WindowLayers::X11WindowLayers(
    X11Connection& connection, std::uint8_t depth, xcb_atom_t announcedBackground)
    : connection_(connection)
    , depth_(depth)
    , background_(connection, announcedBackground)
    , context_(makeCopyContext(connection, depth))
    , part_(makeX11Region(connection))
    , shape_(makeX11Region(connection))
{
}

X11WindowLayers::~X11WindowLayers() = default;

X11WindowLayers::Layer* X11WindowLayers::find(xcb_window_t window) const
{
    const auto found = std::ranges::find_if(
        layers_, [&](const auto& layer) { return layer && layer->topLevel.window == window; });
    return found == layers_.end() ? nullptr : found->get();
}

// A window that is shown again or gets another size draws into a new pixmap, also when it looks as before by
// the time of the next arrangement.
void X11WindowLayers::handle(const xcb_generic_event_t& event)
{
    for (const auto& layer : layers_) {
        if (layer->damage.handle(event))
            return;
    }
    // What others send says nothing about what the server did.
    if ((event.response_type & 0x80) != 0)
        return;
    if (event.response_type == XCB_MAP_NOTIFY) {
        if (Layer* layer = find(reinterpret_cast<const xcb_map_notify_event_t&>(event).window))
            layer->hasNewPixmap = true;
    } else if (event.response_type == XCB_CONFIGURE_NOTIFY) {
        const auto& configured = reinterpret_cast<const xcb_configure_notify_event_t&>(event);
        Layer* layer = find(configured.window);
        if (layer
            && (configured.width + 2 * configured.border_width != layer->topLevel.outline.width
                || configured.height + 2 * configured.border_width != layer->topLevel.outline.height))
            layer->hasNewPixmap = true;
    }
}

void X11WindowLayers::arrange(std::span<const X11TopLevel> bottomToTop)
{
    std::vector<std::unique_ptr<Layer>> layers;
    std::size_t next = 0; // where the next of the old layers would be if nothing was restacked
    for (const X11TopLevel& each : bottomToTop) {
        const auto old = std::ranges::find_if(
            layers_, [&](const auto& layer) { return layer && layer->topLevel.window == each.window; });
        if (old == layers_.end()) {
            layers.push_back(std::make_unique<Layer>(connection_, each));
            redraw_.push_back(each.outline);
            continue;
        }
        Layer& layer = **old;
        const auto index = static_cast<std::size_t>(old - layers_.begin());
        const bool isRestacked = index < next;
        next = std::max(next, index + 1);
        layer.hasNewPixmap = layer.hasNewPixmap || layer.topLevel.outline.width != each.outline.width
            || layer.topLevel.outline.height != each.outline.height;
        if (isRestacked || layer.hasNewPixmap || !looksTheSame(layer.topLevel, each)) {
            redraw_.push_back(layer.topLevel.outline);
            redraw_.push_back(each.outline);
        }
        layer.topLevel = each;
        layers.push_back(std::move(*old));
    }
    for (const auto& gone : layers_) {
        if (gone)
            redraw_.push_back(gone->topLevel.outline);
    }
    layers_ = std::move(layers);
}

void X11WindowLayers::takePixmaps()
{
    for (const auto& layer : layers_) {
        if (!std::exchange(layer->hasNewPixmap, false))
            continue;
        layer->picture.reset();
        layer->pixmap = X11Pixmap(connection_);
        xcb_composite_name_window_pixmap(connection_.xcb(), layer->topLevel.window, layer->pixmap);
    }
}

void X11WindowLayers::forgetBackground()
{
    background_.forget();
    redraw_.push_back(everything);
}

bool X11WindowLayers::hasChanges() const
{
    return !redraw_.empty()
        || std::ranges::any_of(layers_, [](const auto& layer) { return layer->damage.isPending(); });
}

void X11WindowLayers::requestChanges(xcb_xfixes_region_t changes, const PixelRect& area)
{
    xcb_connection_t* xcb = connection_.xcb();
    const PixelRect whole{0, 0, area.width, area.height};
    std::vector<xcb_rectangle_t> rectangles;
    for (const PixelRect& each : coalesced(std::exchange(redraw_, {}), 64)) {
        const PixelRect rect
            = intersection({each.x - area.x, each.y - area.y, each.width, each.height}, whole);
        if (!rect.isEmpty())
            rectangles.push_back(xcbRectangle(rect));
    }
    xcb_xfixes_set_region(xcb, changes, static_cast<std::uint32_t>(rectangles.size()), rectangles.data());
    for (const auto& layer : layers_) {
        if (!layer->damage.isPending())
            continue;
        const X11TopLevel& topLevel = layer->topLevel;
        layer->damage.requestTake(part_);
        xcb_xfixes_translate_region(xcb, part_, coordinate(topLevel.outline.x + topLevel.border - area.x),
            coordinate(topLevel.outline.y + topLevel.border - area.y));
        xcb_xfixes_union_region(xcb, changes, part_, changes);
    }
    const xcb_rectangle_t bounds = xcbRectangle(whole);
    xcb_xfixes_set_region(xcb, part_, 1, &bounds);
    xcb_xfixes_intersect_region(xcb, changes, part_, changes);
}

void X11WindowLayers::draw(
    xcb_pixmap_t target, xcb_xfixes_region_t clip, const PixelRect& area, PixelSize rootSize)
{
    xcb_connection_t* xcb = connection_.xcb();
    const xcb_pixmap_t background = background_.pixmap(rootSize);
    xcb_xfixes_copy_region(xcb, clip, part_);
    xcb_xfixes_set_gc_clip_region(xcb, context_, part_, 0, 0);
    xcb_copy_area(xcb, background, target, context_, coordinate(area.x), coordinate(area.y), 0, 0,
        static_cast<std::uint16_t>(area.width), static_cast<std::uint16_t>(area.height));
    X11RenderPicture targetPicture;
    for (const auto& layer : layers_) {
        if (!intersection(layer->topLevel.outline, area).isEmpty())
            drawLayer(*layer, target, targetPicture, area);
    }
}

void X11WindowLayers::drawLayer(
    Layer& layer, xcb_pixmap_t target, X11RenderPicture& targetPicture, const PixelRect& area)
{
    xcb_connection_t* xcb = connection_.xcb();
    const X11TopLevel& topLevel = layer.topLevel;
    const std::int16_t x = coordinate(topLevel.outline.x - area.x);
    const std::int16_t y = coordinate(topLevel.outline.y - area.y);
    const auto width = static_cast<std::uint16_t>(topLevel.outline.width);
    const auto height = static_cast<std::uint16_t>(topLevel.outline.height);
    // The window's own outline, which need not be a rectangle.
    shape_ = X11Region(connection_);
    xcb_xfixes_create_region_from_window(xcb, shape_, topLevel.window, XCB_SHAPE_SK_BOUNDING);
    xcb_xfixes_translate_region(
        xcb, shape_, coordinate(x + topLevel.border), coordinate(y + topLevel.border));
    xcb_xfixes_intersect_region(xcb, shape_, part_, shape_);
    // The first clip of each pair stands if the window has vanished meanwhile and has no outline.
    if (topLevel.depth == depth_) {
        xcb_xfixes_set_gc_clip_region(xcb, context_, part_, 0, 0);
        xcb_xfixes_set_gc_clip_region(xcb, context_, shape_, 0, 0);
        xcb_copy_area(xcb, layer.pixmap, target, context_, 0, 0, x, y, width, height);
        return;
    }
    if (targetPicture == XCB_NONE)
        makePicture(targetPicture, target, connection_.screen().root_visual);
    if (layer.picture == XCB_NONE)
        makePicture(layer.picture, layer.pixmap, topLevel.visual);
    xcb_xfixes_set_picture_clip_region(xcb, targetPicture, part_, 0, 0);
    xcb_xfixes_set_picture_clip_region(xcb, targetPicture, shape_, 0, 0);
    xcb_render_composite(xcb, XCB_RENDER_PICT_OP_OVER, layer.picture, XCB_NONE, targetPicture, 0, 0, 0, 0, x,
        y, width, height);
}

void X11WindowLayers::makePicture(X11RenderPicture& picture, xcb_drawable_t drawable, xcb_visualid_t visual)
{
    picture = X11RenderPicture(connection_);
    xcb_render_create_picture(connection_.xcb(), picture, drawable, format(visual), 0, nullptr);
}

xcb_render_pictformat_t X11WindowLayers::format(xcb_visualid_t visual)
{
    if (!formats_)
        formats_ = connection_.reply<xcb_render_query_pict_formats_reply_t>(
            xcb_render_query_pict_formats(connection_.xcb()));
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
