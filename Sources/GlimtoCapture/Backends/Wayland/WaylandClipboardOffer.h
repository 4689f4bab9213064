#pragma once

#include <cstddef>
#include <list>
#include <span>

#include "Backends/Wayland/WaylandConnection.h"
#include "Support/FileDescriptor.h"

namespace glimto {

// Owns the clipboard of a seat and gives its contents, one PNG, to whoever asks. Used by one thread.
class WaylandClipboardOffer {
public:
    // Takes the clipboard. Both outlive the object; the connection has data control and a seat. Throws
    // PlatformError when the compositor does not answer.
    WaylandClipboardOffer(WaylandConnection& connection, std::span<const std::byte> png);

    // Serves requests until another program has taken the clipboard, or the seat is gone, and everything
    // begun is handed over. Throws PlatformError when the compositor goes away.
    void run();

private:
    using Clock = WaylandConnection::Clock;

    // A reader gets as much as it takes, and may take as long as it goes on reading.
    struct Transfer {
        FileDescriptor pipe;
        std::span<const std::byte> rest;
        Clock::time_point deadline;
    };

    void begin(FileDescriptor pipe);
    // Whether there is more to be handed over.
    static bool goOn(Transfer& transfer);
    void waitForWork();

    WaylandConnection& connection_;
    std::span<const std::byte> png_;
    WaylandDataSourceHandle source_;
    WaylandDataDeviceHandle device_;
    bool isTaken_ = false; // by another program
    std::list<Transfer> transfers_;
};

} // namespace glimto
