#include "Backends/Wayland/WaylandBuffer.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "Support/Errors.h"

namespace glimto {

WaylandSharedMemory::WaylandSharedMemory(std::size_t size)
    : descriptor_(::memfd_create("glimto-picture", MFD_CLOEXEC | MFD_ALLOW_SEALING))
{
    if (descriptor_ && ::ftruncate(descriptor_.get(), static_cast<off_t>(size)) == 0
        && ::fcntl(descriptor_.get(), F_ADD_SEALS, F_SEAL_SHRINK) == 0)
        mapping_ = MemoryMapping(size, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor_.get());
    if (!mapping_)
        throw PlatformError::posix("Could not get memory for a picture", errno);
}

WaylandBuffer::WaylandBuffer(wl_shm* shm, const WaylandPictureFormat& format)
    : format_(format)
    , memory_(std::make_shared<WaylandSharedMemory>(format.size()))
    , stale_(static_cast<int>(format.width), static_cast<int>(format.height))
{
    const WaylandHandle<wl_shm_pool> pool(
        wl_shm_create_pool(shm, memory_->fileDescriptor(), static_cast<std::int32_t>(format.size())));
    buffer_.reset(wl_shm_pool_create_buffer(pool.get(), 0, static_cast<std::int32_t>(format.width),
        static_cast<std::int32_t>(format.height), static_cast<std::int32_t>(format.bytesPerRow),
        format.format));
}

} // namespace glimto
