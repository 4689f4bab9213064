#include "Backends/Pango/PangoTextDrawing.h"

#include <cmath>
#include <cstdio>
#include <exception>
#include <memory>
#include <mutex>
#include <utility>

#include <fontconfig/fontconfig.h>
#include <pango/pangocairo.h>

#include "Backends/Pango/FontSources.h"
#include "Platform/Geometry.h"

namespace glimto {

namespace {

constexpr const char* systemFamilies = "system-ui,sans-serif";

struct PangoDeleter {
    void operator()(PangoFontDescription* description) const noexcept
    {
        pango_font_description_free(description);
    }
    void operator()(cairo_font_options_t* options) const noexcept { cairo_font_options_destroy(options); }
    void operator()(cairo_surface_t* surface) const noexcept { cairo_surface_destroy(surface); }
    void operator()(cairo_t* context) const noexcept { cairo_destroy(context); }
    template <typename Object> void operator()(Object* object) const noexcept { g_object_unref(object); }
};

template <typename Object> using PangoHandle = std::unique_ptr<Object, PangoDeleter>;

double pixels(int units)
{
    return static_cast<double>(units) / PANGO_SCALE;
}

// Keeps what libraries have to say, such as that fontconfig may write no cache, off standard error while it
// lives: that belongs to the program's own messages, which do not go through the C library's stream.
class QuietLibraries {
public:
    QuietLibraries()
        : lock_(mutex())
        , usual_(stderr)
    {
        // Kept open for good: another thread may be about to write to it when we are done.
        static std::FILE* const nowhere = std::fopen("/dev/null", "we");
        if (nowhere)
            stderr = nowhere;
    }
    ~QuietLibraries() { stderr = usual_; }
    QuietLibraries(const QuietLibraries&) = delete;
    QuietLibraries& operator=(const QuietLibraries&) = delete;

private:
    // By hand: stderr is the process's, and what writes to it meanwhile is a library.
    static std::mutex& mutex()
    {
        static std::mutex only; // by hand: as above
        return only;
    }

    std::lock_guard<std::mutex> lock_; // by hand: as above
    std::FILE* usual_;
};

// Without any font Pango would draw boxes.
bool hasFonts()
{
    const FcFontSet* fonts = FcInit() ? FcConfigGetFonts(nullptr, FcSetSystem) : nullptr;
    return fonts && fonts->nfont > 0;
}

PangoHandle<PangoFontDescription> descriptionOf(const TextFont& font)
{
    PangoHandle<PangoFontDescription> description(pango_font_description_new());
    pango_font_description_set_family_static(description.get(), systemFamilies);
    pango_font_description_set_weight(description.get(),
        font.weight == TextFont::Weight::medium ? PANGO_WEIGHT_MEDIUM : PANGO_WEIGHT_NORMAL);
    pango_font_description_set_absolute_size(description.get(), font.size * PANGO_SCALE);
    return description;
}

PangoHandle<PangoContext> makeContext()
{
    const PangoHandle<PangoFontMap> map(pango_cairo_font_map_new());
    PangoHandle<PangoContext> context(pango_font_map_create_context(map.get()));
    const PangoHandle<cairo_font_options_t> options(cairo_font_options_create());
    cairo_font_options_set_antialias(options.get(), CAIRO_ANTIALIAS_GRAY);
    cairo_font_options_set_hint_style(options.get(), CAIRO_HINT_STYLE_NONE);
    cairo_font_options_set_hint_metrics(options.get(), CAIRO_HINT_METRICS_OFF);
    pango_cairo_context_set_font_options(context.get(), options.get());
    pango_context_set_round_glyph_positions(context.get(), FALSE);
    return context;
}

// What the line covers when its baseline starts at (0, 0). `ink` is what it draws in.
std::optional<CoverageMask> coverageOf(PangoLayoutLine* line, const Rect& ink)
{
    // One pixel more on each side, for what antialiasing adds.
    const int left = static_cast<int>(std::floor(ink.x)) - 1;
    const int top = static_cast<int>(std::floor(ink.y)) - 1;
    const int width = static_cast<int>(std::ceil(ink.maxX())) + 1 - left;
    const int height = static_cast<int>(std::ceil(ink.maxY())) + 1 - top;
    const PangoHandle<cairo_surface_t> surface(cairo_image_surface_create(CAIRO_FORMAT_A8, width, height));
    const PangoHandle<cairo_t> context(cairo_create(surface.get()));
    cairo_move_to(context.get(), -left, -top);
    pango_cairo_show_layout_line(context.get(), line);
    cairo_surface_flush(surface.get());
    if (cairo_status(context.get()) != CAIRO_STATUS_SUCCESS)
        return std::nullopt;
    return CoverageMask::copied({left, top, width, height}, cairo_image_surface_get_data(surface.get()),
        static_cast<std::size_t>(cairo_image_surface_get_stride(surface.get())));
}

} // namespace

std::optional<TextLine> PangoTextDrawing::setLine(const std::string& text, const TextFont& font)
try {
    const QuietLibraries quiet;
    if (!(font.size > 0) || !std::isfinite(font.size) || !hasFonts())
        return std::nullopt;
    const auto context = makeContext();
    const auto description = descriptionOf(font);
    PangoHandle<PangoLayout> layout(pango_layout_new(context.get()));
    pango_layout_set_single_paragraph_mode(layout.get(), TRUE);
    pango_layout_set_font_description(layout.get(), description.get());
    pango_layout_set_text(layout.get(), text.data(), static_cast<int>(text.size()));
    PangoLayoutLine* const line = pango_layout_get_line_readonly(layout.get(), 0);
    PangoRectangle ink{};
    PangoRectangle logical{};
    pango_layout_line_get_extents(line, &ink, &logical);
    auto coverage = coverageOf(line, {pixels(ink.x), pixels(ink.y), pixels(ink.width), pixels(ink.height)});
    if (!coverage)
        return std::nullopt;
    // The logical rectangle is as high as the font, whatever the letters. Asking for the font's metrics
    // instead would set a whole sample text.
    return TextLine{.width = pixels(logical.width),
        .ascent = pixels(-logical.y),
        .descent = pixels(logical.y + logical.height),
        .coverage = std::move(*coverage),
        .files = filesBehind(line),
        .variables = variablesOfFonts()};
} catch (const std::exception&) {
    return std::nullopt; // no memory
}

} // namespace glimto
