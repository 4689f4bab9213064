#include "Backends/X11/Pictures/X11FramePool.h"

#include <algorithm>

namespace glimto {

namespace {

bool isFree(const X11Canvas& canvas)
{
    // Acquire: what consumers read of the picture happens before it is drawn over.
    return canvas.memory()->leases.load(std::memory_order_acquire) == 0;
}

} // namespace

X11FramePool::X11FramePool(X11Connection& connection, PixelSize size, std::uint8_t depth,
    const X11PixelFormat& format, int mostCanvases)
    : connection_(connection)
    , size_(size)
    , depth_(depth)
    , format_(format)
    , mostCanvases_(static_cast<std::size_t>(std::max(1, mostCanvases)))
{
}

X11Canvas* X11FramePool::acquire(X11Canvas* preferred)
{
    if (preferred && isFree(*preferred))
        return preferred;
    for (const auto& canvas : canvases_) {
        if (isFree(*canvas))
            return canvas.get();
    }
    if (canvases_.size() >= mostCanvases_)
        return nullptr;
    return canvases_.emplace_back(std::make_unique<X11Canvas>(connection_, size_, depth_, format_)).get();
}

std::shared_ptr<const FramePicture> X11FramePool::lease(X11Canvas& canvas)
{
    auto memory = canvas.memory();
    memory->leases.fetch_add(1, std::memory_order_relaxed);
    PixelBuffer pixels = canvas.pixels();
    pixels.storage = std::shared_ptr<const void>(static_cast<const void*>(memory->bytes()),
        [memory](const void*) { memory->leases.fetch_sub(1, std::memory_order_release); });
    return std::make_shared<const MemoryPicture>(std::move(pixels));
}

} // namespace glimto
