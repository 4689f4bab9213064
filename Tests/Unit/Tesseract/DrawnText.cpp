#include "Unit/Tesseract/DrawnText.h"

#include <stdexcept>
#include <utility>

#include <pango/pangocairo.h>

namespace glimto {

struct DrawnText::Surface {
    Surface(int width, int height)
        : image(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height), cairo_surface_destroy)
        , context(cairo_create(image.get()))
    {
    }
    ~Surface() { cairo_destroy(context); }

    std::shared_ptr<cairo_surface_t> image;
    cairo_t* context;
};

DrawnText::DrawnText(int width, int height, Color background)
    : surface_(std::make_unique<Surface>(width, height))
{
    rectangle(0, 0, width, height, background);
}

DrawnText::~DrawnText() = default;

void DrawnText::text(
    int x, int y, const std::string& words, double size, Color color, const std::string& font)
{
    cairo_t* context = surface_->context;
    PangoLayout* layout = pango_cairo_create_layout(context);
    PangoFontDescription* description = pango_font_description_from_string(font.c_str());
    pango_font_description_set_absolute_size(description, size * PANGO_SCALE);
    pango_layout_set_font_description(layout, description);
    pango_layout_set_text(layout, words.c_str(), -1);
    cairo_set_source_rgb(context, color.red, color.green, color.blue);
    cairo_move_to(context, x, y);
    pango_cairo_show_layout(context, layout);
    pango_font_description_free(description);
    g_object_unref(layout);
}

void DrawnText::rectangle(int x, int y, int width, int height, Color color)
{
    cairo_set_source_rgb(surface_->context, color.red, color.green, color.blue);
    cairo_rectangle(surface_->context, x, y, width, height);
    cairo_fill(surface_->context);
}

std::shared_ptr<const PixelBuffer> DrawnText::pixels() const
{
    cairo_surface_t* image = surface_->image.get();
    cairo_surface_flush(image);
    auto pixels = std::make_shared<PixelBuffer>();
    pixels->width = cairo_image_surface_get_width(image);
    pixels->height = cairo_image_surface_get_height(image);
    pixels->bytesPerRow = static_cast<std::size_t>(cairo_image_surface_get_stride(image));
    pixels->bytes = cairo_image_surface_get_data(image);
    pixels->storage = surface_->image;
    return pixels;
}

OnePicturePNGCodec::OnePicturePNGCodec(std::shared_ptr<const PixelBuffer> picture)
    : picture_(std::move(picture))
{
}

std::string OnePicturePNGCodec::header(std::uint32_t width, std::uint32_t height)
{
    std::string bytes("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16);
    for (const std::uint32_t side : {width, height}) {
        for (const int shift : {24, 16, 8, 0})
            bytes += static_cast<char>(side >> shift & 0xff);
    }
    return bytes;
}

std::vector<std::byte> OnePicturePNGCodec::encode(const PixelBuffer&)
{
    throw std::logic_error("nothing is encoded here");
}

std::shared_ptr<const PixelBuffer> OnePicturePNGCodec::decode(std::span<const std::byte>)
{
    ++decodings;
    return picture_;
}

} // namespace glimto
