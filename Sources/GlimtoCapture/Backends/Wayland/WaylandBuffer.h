#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "Backends/Wayland/WaylandHandles.h"
#include "Backends/Wayland/WaylandPictureFormat.h"
#include "Backends/Wayland/WaylandStaleRects.h"
#include "Support/FileDescriptor.h"
#include "Support/MemoryMapping.h"

namespace glimto {

// Memory that this process and the compositor share. Its consumers may keep it longer than the buffer lives.
// It cannot be made smaller, so that nobody takes it from under them.
class WaylandSharedMemory {
public:
    // Throws PlatformError when there is no memory left.
    explicit WaylandSharedMemory(std::size_t size);

    std::uint8_t* bytes() const { return mapping_.bytes(); }
    int fileDescriptor() const { return descriptor_.get(); }

    // How many pictures in the hands of consumers lie here; written by any thread.
    std::atomic<int> leases = 0;

private:
    FileDescriptor descriptor_;
    MemoryMapping mapping_;
};

// A picture that the compositor copies into.
class WaylandBuffer {
public:
    // `format` is usable. Throws PlatformError when there is no memory left.
    WaylandBuffer(wl_shm* shm, const WaylandPictureFormat& format);

    const WaylandPictureFormat& format() const { return format_; }
    wl_buffer* buffer() const { return buffer_.get(); }
    const std::shared_ptr<WaylandSharedMemory>& memory() const { return memory_; }

    // Where it is not as the source was when that was copied last, into whichever buffer.
    WaylandStaleRects& stale() { return stale_; }

private:
    WaylandPictureFormat format_;
    std::shared_ptr<WaylandSharedMemory> memory_; // shared with the consumers of the picture
    WaylandHandle<wl_buffer> buffer_;
    WaylandStaleRects stale_;
};

} // namespace glimto
