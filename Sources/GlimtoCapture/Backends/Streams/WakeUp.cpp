#include "Backends/Streams/WakeUp.h"

#include <algorithm>
#include <cerrno>

#include <sys/eventfd.h>

#include "Support/Errors.h"
#include "Support/TimeStamps.h"

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

bool waitFor(std::span<pollfd> entries, std::int64_t deadline) noexcept
{
    constexpr std::int64_t second = 1'000'000'000;
    const std::int64_t left = std::max<std::int64_t>(0, deadline - hostTimeNanoseconds());
    const timespec timeout = {.tv_sec = left / second, .tv_nsec = left % second};
    return ::ppoll(entries.data(), entries.size(), &timeout, nullptr) >= 0 || errno == EINTR;
}

} // namespace glimto
