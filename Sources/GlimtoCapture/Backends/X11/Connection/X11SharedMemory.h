#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

#include <xcb/shm.h>

#include "Backends/X11/Connection/X11Connection.h"

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

    ~X11SharedMemory();
    X11SharedMemory(const X11SharedMemory&) = delete;
    X11SharedMemory& operator=(const X11SharedMemory&) = delete;

    std::uint8_t* bytes() const { return bytes_; }
    std::size_t size() const { return size_; }

    // The server's name for the memory; XCB_NONE when the server does not share it. Whoever holds the
    // connection detaches it.
    xcb_shm_seg_t segment() const { return segment_; }

    // How many pictures in the hands of consumers lie here. Written by any thread; the memory may be
    // drawn into only when it is 0.
    std::atomic<int> leases = 0;

private:
    enum class Kind { mapped, systemV };
    X11SharedMemory(Kind kind, std::uint8_t* bytes, std::size_t size);
    static std::shared_ptr<X11SharedMemory> makePlain(std::size_t size);
    static std::shared_ptr<X11SharedMemory> makeByDescriptor(X11Connection& connection, std::size_t size);
    static std::shared_ptr<X11SharedMemory> makeSystemV(X11Connection& connection, std::size_t size);

    Kind kind_;
    std::uint8_t* bytes_;
    std::size_t size_;
    xcb_shm_seg_t segment_ = XCB_NONE;
};

} // namespace glimto
