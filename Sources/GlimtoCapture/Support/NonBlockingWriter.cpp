#include "Support/NonBlockingWriter.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <string>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace glimto {

namespace {

// What a pipe has room for once it is writable, so that a write that may block does not.
constexpr std::size_t pipeBufferBytes = 4096;

using Milliseconds = std::chrono::milliseconds;

FileDescriptor openedWithoutBlocking(int descriptor)
{
    const auto path = "/dev/fd/" + std::to_string(descriptor);
    FileDescriptor opened(::open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    // Some systems give another number for the same open file.
    if (opened && (::fcntl(opened.get(), F_GETFL) & O_NONBLOCK) == 0)
        opened.close();
    return opened;
}

int pollMilliseconds(std::optional<std::chrono::steady_clock::time_point> deadline)
{
    if (!deadline)
        return -1;
    const auto left = std::chrono::ceil<Milliseconds>(*deadline - std::chrono::steady_clock::now()).count();
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, 1'000'000));
}

} // namespace

NonBlockingWriter::NonBlockingWriter(int descriptor)
    : descriptor_(descriptor)
{
    struct stat status = {};
    if (::fstat(descriptor_, &status) != 0)
        return;
    const bool isTerminal = ::isatty(descriptor_) == 1;
    isSocket_ = S_ISSOCK(status.st_mode);
    if (S_ISFIFO(status.st_mode) || isTerminal)
        again_ = openedWithoutBlocking(descriptor_);
    neverBlocks_ = !isTerminal || again_;
}

long NonBlockingWriter::write(std::string_view text) const
{
    if (isSocket_)
        return ::send(descriptor_, text.data(), text.size(), MSG_DONTWAIT);
    if (again_)
        return ::write(again_.get(), text.data(), text.size());
    if (!waitForRoom(Milliseconds::zero())) {
        errno = EAGAIN;
        return -1;
    }
    return ::write(descriptor_, text.data(), std::min(text.size(), pipeBufferBytes));
}

bool NonBlockingWriter::waitForRoom(std::optional<Milliseconds> limit) const
{
    std::optional<std::chrono::steady_clock::time_point> deadline;
    if (limit)
        deadline = std::chrono::steady_clock::now() + *limit;
    pollfd entry = {.fd = descriptor_, .events = POLLOUT, .revents = 0};
    while (true) {
        const int result = ::poll(&entry, 1, pollMilliseconds(deadline));
        if (result >= 0 || errno != EINTR)
            return result > 0;
    }
}

} // namespace glimto
