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
        memoryFor(format_.bytesPerRow(expected.width) * static_cast<std::size_t>(expected.height));
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

std::optional<StillImage> X11ScreenReader::read(const PixelRect& area, PixelSize output)
{
    const auto root = connection_.reply<xcb_get_geometry_reply_t>(
        xcb_get_geometry(connection_.xcb(), connection_.root()));
    if (!root)
        return std::nullopt;
    const PixelRect wanted = intersection(area, {area.x, area.y, output.width, output.height});
    const PixelRect visible = intersection(wanted, wholeOf({root->width, root->height}));
    if (visible.isEmpty())
        return std::nullopt;
    const auto rows = readRows(visible);
    if (!rows)
        return std::nullopt;
    return picture(*rows, {visible.width, visible.height}, visible.x - area.x, visible.y - area.y, output);
}

std::optional<X11ScreenReader::Rows> X11ScreenReader::readRows(const PixelRect& rect)
{
    xcb_connection_t* xcb = connection_.xcb();
    const auto x = static_cast<std::int16_t>(rect.x);
    const auto y = static_cast<std::int16_t>(rect.y);
    const auto width = static_cast<std::uint16_t>(rect.width);
    const auto height = static_cast<std::uint16_t>(rect.height);
    const std::size_t size = format_.bytesPerRow(rect.width) * static_cast<std::size_t>(rect.height);
    const auto memory = memoryFor(size);
    if (memory->segment() != XCB_NONE) {
        const auto cookie = xcb_shm_get_image(xcb, connection_.root(), x, y, width, height, allPlanes,
            XCB_IMAGE_FORMAT_Z_PIXMAP, memory->segment(), 0);
        if (connection_.reply<xcb_shm_get_image_reply_t>(cookie))
            return Rows{memory->bytes(), memory};
    }
    const auto cookie
        = xcb_get_image(xcb, XCB_IMAGE_FORMAT_Z_PIXMAP, connection_.root(), x, y, width, height, allPlanes);
    std::shared_ptr<xcb_get_image_reply_t> image(connection_.reply<xcb_get_image_reply_t>(cookie));
    if (!image || static_cast<std::size_t>(xcb_get_image_data_length(image.get())) < size)
        return std::nullopt;
    return Rows{xcb_get_image_data(image.get()), image};
}

StillImage X11ScreenReader::picture(
    const Rows& rows, PixelSize size, int left, int top, PixelSize output) const
{
    const std::size_t sourceRow = format_.bytesPerRow(size.width);
    StillImage image = {.width = output.width,
        .height = output.height,
        .bytesPerRow = sourceRow,
        .bytes = rows.bytes,
        .storage = rows.storage};
    if (format_.isPlain() && size == output)
        return image;

    const std::size_t targetRow = 4 * static_cast<std::size_t>(output.width);
    const auto pixels = std::make_shared<std::vector<std::uint8_t>>(
        targetRow * static_cast<std::size_t>(output.height), std::uint8_t(0));
    const X11PixelConverter converter(format_);
    for (int row = 0; row < size.height; ++row) {
        converter.convertRow(rows.bytes + static_cast<std::size_t>(row) * sourceRow,
            pixels->data() + static_cast<std::size_t>(top + row) * targetRow
                + 4 * static_cast<std::size_t>(left),
            size.width);
    }
    image.bytesPerRow = targetRow;
    image.bytes = pixels->data();
    image.storage = pixels;
    return image;
}

} // namespace glimto
