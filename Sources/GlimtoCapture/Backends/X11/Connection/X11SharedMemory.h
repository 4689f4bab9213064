#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

#include <sys/shm.h>
#include <xcb/shm.h>

#include "Backends/X11/Connection/X11Connection.h"
#include "Support/MemoryMapping.h"
#include "Support/Owned.h"

namespace glimto {

// Zeroed memory that this process and, if it could be attached, the X server share.
//
// Owned by the canvas that the server draws into and by every consumer that still holds its picture;
// it outlives the connection where need be.
class X11SharedMemory {
public:
    // Attached to a server on this machine, by file descriptor or, for servers without that, as System V
    // shared memory. Plain memory that is not attached for any other server. Throws PlatformError when
    // there is no memory left.
    static std::shared_ptr<X11SharedMemory> make(X11Connection& connection, std::size_t size);

    X11SharedMemory(const X11SharedMemory&) = delete;
    X11SharedMemory& operator=(const X11SharedMemory&) = delete;

    std::uint8_t* bytes() const { return systemV_ ? systemV_.get() : mapped_.bytes(); }
    std::size_t size() const { return size_; }

    // The server's name for the memory; XCB_NONE when the server does not share it. Whoever holds the
    // connection detaches it.
    xcb_shm_seg_t segment() const { return segment_; }

    // How many pictures in the hands of consumers lie here. Written by any thread; the memory may be
    // drawn into only when it is 0.
    std::atomic<int> leases = 0;

private:
    explicit X11SharedMemory(std::size_t size)
        : size_(size)
    {
    }
    static std::shared_ptr<X11SharedMemory> makePlain(std::size_t size);
    static std::shared_ptr<X11SharedMemory> makeByDescriptor(X11Connection& connection, std::size_t size);
    static std::shared_ptr<X11SharedMemory> makeSystemV(X11Connection& connection, std::size_t size);

    MemoryMapping mapped_;
    Owned<std::uint8_t, shmdt> systemV_; // one of the two
    std::size_t size_;
    xcb_shm_seg_t segment_ = XCB_NONE;
};

} // namespace glimto
