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

X11FramePool::X11FramePool(X11Connection& connection, PixelSize size, std::uint8_t depth, int mostCanvases)
    : connection_(connection)
    , size_(size)
    , depth_(depth)
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
    return canvases_.emplace_back(std::make_unique<X11Canvas>(connection_, size_, depth_)).get();
}

std::shared_ptr<const PixelBuffer> X11FramePool::lease(X11Canvas& canvas)
{
    auto memory = canvas.memory();
    memory->leases.fetch_add(1, std::memory_order_relaxed);
    std::shared_ptr<const void> storage(static_cast<const void*>(memory->bytes()),
        [memory](const void*) { memory->leases.fetch_sub(1, std::memory_order_release); });
    return std::make_shared<const PixelBuffer>(PixelBuffer{.width = canvas.size().width,
        .height = canvas.size().height,
        .bytesPerRow = canvas.bytesPerRow(),
        .bytes = memory->bytes(),
        .storage = std::move(storage)});
}

} // namespace glimto
