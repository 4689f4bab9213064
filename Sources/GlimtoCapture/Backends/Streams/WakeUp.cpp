#include "Backends/Streams/WakeUp.h"

#include <algorithm>
#include <cerrno>

#include <sys/eventfd.h>

#include "Support/Errors.h"

namespace glimto {

WakeUp::WakeUp()
    : event_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    if (!event_)
        throw PlatformError::posix("Could not start the capture", errno);
}

void WakeUp::wake() noexcept
{
    (void)eventfd_write(event_.get(), 1);
}

void WakeUp::end() noexcept
{
    hasEnded_ = true;
    wake();
}

void WakeUp::clear() noexcept
{
    eventfd_t ignored = 0;
    (void)eventfd_read(event_.get(), &ignored);
}

bool waitFor(std::span<pollfd> entries, HostTime deadline) noexcept
{
    const auto left = std::max(HostClock::duration(0), deadline - HostClock::now());
    const auto seconds = std::chrono::floor<std::chrono::seconds>(left);
    const timespec timeout = {.tv_sec = seconds.count(), .tv_nsec = (left - seconds).count()};
    return ::ppoll(entries.data(), entries.size(), &timeout, nullptr) >= 0 || errno == EINTR;
}

} // namespace glimto
