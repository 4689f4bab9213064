#pragma once

#include <atomic>
#include <cstdint>
#include <span>

#include <poll.h>

#include "Support/FileDescriptor.h"
#include "Support/HostClock.h"

namespace glimto {

// Ends a wait of one thread from any other.
class WakeUp {
public:
    // Throws PlatformError (POSIX).
    WakeUp();

    // Any thread; never blocks. wake() only interrupts the wait, end() is for good.
    void wake() noexcept;
    void end() noexcept;
    bool hasEnded() const { return hasEnded_; }

    // Readable once woken.
    int fileDescriptor() const { return event_.get(); }

    // Makes it unreadable again. By the thread that waits.
    void clear() noexcept;

private:
    FileDescriptor event_;
    std::atomic<bool> hasEnded_ = false;
};

// Waits until one of `entries` is as it wishes, at most until `deadline`. Returns after a signal as well.
// False, with errno, when there is no waiting.
bool waitFor(std::span<pollfd> entries, HostTime deadline) noexcept;

} // namespace glimto
