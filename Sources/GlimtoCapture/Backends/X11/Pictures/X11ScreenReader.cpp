#include "Backends/X11/Pictures/X11ScreenReader.h"

#include <cstring>

#include <xcb/shm.h>

namespace glimto {

namespace {

constexpr std::uint32_t allPlanes = ~0U;

} // namespace

X11ScreenReader::X11ScreenReader(X11Connection& connection, PixelSize expected)
    : connection_(connection)
    , format_(X11PixelFormat::ofRoot(connection))
{
    if (!expected.isEmpty())
        memoryFor(format_.byteCount(expected));
}

X11ScreenReader::~X11ScreenReader()
{
    releaseMemory();
}

std::shared_ptr<X11SharedMemory> X11ScreenReader::memoryFor(std::size_t size)
{
    if (!memory_ || memory_->size() < size) {
        releaseMemory();
        memory_ = X11SharedMemory::make(connection_, size);
    }
    return memory_;
}

void X11ScreenReader::releaseMemory()
{
    if (memory_ && memory_->segment() != XCB_NONE)
        xcb_shm_detach(connection_.xcb(), memory_->segment());
    memory_.reset();
}

void X11ScreenReader::touchMemory()
{
    if (memory_)
        std::memset(memory_->bytes(), 0, memory_->size());
}

std::optional<PixelCanvas> X11ScreenReader::read(const PixelRect& area, PixelSize output)
{
    const auto root = connection_.reply<xcb_get_geometry_reply_t>(
        xcb_get_geometry(connection_.xcb(), connection_.root()));
    if (!root)
        return std::nullopt;
    const PixelRect wanted = intersection(area, {area.x, area.y, output.width, output.height});
    const PixelRect visible = intersection(wanted, wholeOf({root->width, root->height}));
    if (visible.isEmpty())
        return std::nullopt;
    const auto pixels = readPixels(visible);
    if (!pixels || PixelSize{visible.width, visible.height} == output)
        return pixels;
    const PixelCanvas whole = makeCanvas(output.width, output.height);
    std::memset(whole.bytes, 0, whole.bytesPerRow * static_cast<std::size_t>(whole.height));
    convertPixels(
        *pixels, whole.part({visible.x - area.x, visible.y - area.y, visible.width, visible.height}));
    return whole;
}

std::optional<PixelCanvas> X11ScreenReader::readPixels(const PixelRect& rect)
{
    xcb_connection_t* xcb = connection_.xcb();
    const auto x = static_cast<std::int16_t>(rect.x);
    const auto y = static_cast<std::int16_t>(rect.y);
    const auto width = static_cast<std::uint16_t>(rect.width);
    const auto height = static_cast<std::uint16_t>(rect.height);
    const PixelSize size = {rect.width, rect.height};
    const auto memory = memoryFor(format_.byteCount(size));
    if (memory->segment() != XCB_NONE) {
        const auto cookie = xcb_shm_get_image(xcb, connection_.root(), x, y, width, height, allPlanes,
            XCB_IMAGE_FORMAT_Z_PIXMAP, memory->segment(), 0);
        if (connection_.reply<xcb_shm_get_image_reply_t>(cookie))
            return format_.pixels(memory->bytes(), size, memory);
    }
    const auto cookie
        = xcb_get_image(xcb, XCB_IMAGE_FORMAT_Z_PIXMAP, connection_.root(), x, y, width, height, allPlanes);
    const std::shared_ptr<xcb_get_image_reply_t> image(connection_.reply<xcb_get_image_reply_t>(cookie));
    if (!image || static_cast<std::size_t>(xcb_get_image_data_length(image.get())) < format_.byteCount(size))
        return std::nullopt;
    return format_.pixels(xcb_get_image_data(image.get()), size, image);
}

} // namespace glimto
