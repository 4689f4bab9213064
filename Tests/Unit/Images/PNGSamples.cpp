#include "PNGSamples.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>

#include <png.h>

namespace glimto {

namespace {

// A sample that libpng does not take is a mistake of the test.
[[noreturn]] void fail(png_struct*, const char*)
{
    std::abort();
}

void appendBytes(png_struct* png, png_byte* bytes, std::size_t count)
{
    auto& file = *static_cast<std::vector<std::byte>*>(png_get_io_ptr(png));
    const auto* begin = reinterpret_cast<const std::byte*>(bytes);
    file.insert(file.end(), begin, begin + count);
}

void setPalette(png_struct* png, png_info* info, const PNGSample& sample)
{
    std::vector<png_color> colors;
    for (std::size_t at = 0; at + 2 < sample.palette.size(); at += 3)
        colors.push_back({sample.palette[at], sample.palette[at + 1], sample.palette[at + 2]});
    if (!colors.empty())
        png_set_PLTE(png, info, colors.data(), static_cast<int>(colors.size()));
}

void setTransparency(png_struct* png, png_info* info, const PNGSample& sample)
{
    if (!sample.paletteAlpha.empty())
        png_set_tRNS(
            png, info, sample.paletteAlpha.data(), static_cast<int>(sample.paletteAlpha.size()), nullptr);
    if (sample.transparentColor.empty())
        return;
    png_color_16 color{};
    color.gray = color.red = static_cast<png_uint_16>(sample.transparentColor.front());
    if (sample.transparentColor.size() == 3) {
        color.green = static_cast<png_uint_16>(sample.transparentColor[1]);
        color.blue = static_cast<png_uint_16>(sample.transparentColor[2]);
    }
    png_set_tRNS(png, info, nullptr, 0, &color);
}

} // namespace

std::vector<std::byte> pngFile(const PNGSample& sample)
{
    std::vector<std::byte> file;
    png_struct* png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, &fail, nullptr);
    png_info* info = png_create_info_struct(png);
    png_set_write_fn(png, &file, &appendBytes, nullptr);
    png_set_IHDR(png, info, static_cast<png_uint_32>(sample.width), static_cast<png_uint_32>(sample.height),
        sample.bitDepth, sample.colorType, sample.isInterlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE,
        PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    setPalette(png, info, sample);
    setTransparency(png, info, sample);
    png_write_info(png, info);
    auto bytes = sample.rows;
    std::vector<png_byte*> rows;
    for (std::size_t row = 0; row < static_cast<std::size_t>(sample.height); ++row)
        rows.push_back(bytes.data() + row * bytes.size() / static_cast<std::size_t>(sample.height));
    png_write_image(png, rows.data());
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return file;
}

std::vector<std::uint8_t> rgbReadByReference(const std::vector<std::byte>& file, int& width, int& height)
{
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_memory(&image, file.data(), file.size()))
        return {};
    image.format = PNG_FORMAT_RGB;
    std::vector<std::uint8_t> bytes(PNG_IMAGE_SIZE(image));
    if (!png_image_finish_read(&image, nullptr, bytes.data(), 0, nullptr))
        return {};
    width = static_cast<int>(image.width);
    height = static_cast<int>(image.height);
    return bytes;
}

std::size_t chunkOffset(const std::vector<std::byte>& file, const char* type)
{
    const auto* wanted = reinterpret_cast<const std::byte*>(type);
    const auto found = std::search(file.begin(), file.end(), wanted, wanted + std::strlen(type));
    return static_cast<std::size_t>(found - file.begin()) - 4;
}

std::vector<std::uint8_t> rgbOf(const PixelBuffer& pixels)
{
    std::vector<std::uint8_t> bytes;
    for (int y = 0; y < pixels.height; ++y) {
        const std::uint8_t* row = pixels.bytes + static_cast<std::size_t>(y) * pixels.bytesPerRow;
        for (int x = 0; x < pixels.width; ++x)
            bytes.insert(bytes.end(), {row[4 * x + 2], row[4 * x + 1], row[4 * x]});
    }
    return bytes;
}

} // namespace glimto
