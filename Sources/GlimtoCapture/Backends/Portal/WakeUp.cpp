#include "Backends/Portal/WakeUp.h"

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

} // namespace glimto
