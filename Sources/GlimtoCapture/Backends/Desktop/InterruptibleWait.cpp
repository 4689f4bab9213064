#include "Backends/Desktop/InterruptibleWait.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace glimto {

int InterruptibleWait::begin()
{
    if (!event_)
        event_ = FileDescriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    return event_.get();
}

void InterruptibleWait::interrupt(int descriptor) noexcept
{
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = ::write(descriptor, &one, sizeof one);
}

void InterruptibleWait::watch(const std::filesystem::path& file)
{
    const auto directory = file.has_parent_path() ? file.parent_path() : std::filesystem::path(".");
    fileName_ = file.filename();
    directory_ = FileDescriptor(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    if (directory_ && ::inotify_add_watch(directory_.get(), directory.c_str(), IN_CREATE | IN_MOVED_TO) < 0)
        directory_ = FileDescriptor();
}

void InterruptibleWait::waitFor(std::chrono::nanoseconds longest)
{
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + longest;
    std::array<pollfd, 2> entries = {{{.fd = event_.get(), .events = POLLIN, .revents = 0},
        {.fd = directory_.get(), .events = POLLIN, .revents = 0}}};
    while (true) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        if (left <= 0
            || ::poll(entries.data(), entries.size(), static_cast<int>(std::min<std::int64_t>(left, 60'000)))
                < 0)
            return;
        std::uint64_t interrupts = 0;
        if (entries[0].revents != 0 && ::read(event_.get(), &interrupts, sizeof interrupts) != 0)
            return;
        if (entries[1].revents != 0) {
            if (sawFile())
                return;
            entries[1].fd = -1; // a busy directory is not looked at again this time
        }
    }
}

// Whether what happened in the directory has to do with the file.
bool InterruptibleWait::sawFile()
{
    alignas(inotify_event) std::array<char, 16 * 1024> events = {};
    bool isSeen = false;
    while (true) {
        const auto size = ::read(directory_.get(), events.data(), events.size());
        if (size <= 0)
            return isSeen;
        for (std::size_t at = 0; at < static_cast<std::size_t>(size);) {
            const auto* event = reinterpret_cast<const inotify_event*>(events.data() + at);
            isSeen = isSeen || (event->len > 0 && fileName_ == event->name);
            at += sizeof(inotify_event) + event->len;
        }
    }
}

} // namespace glimto
