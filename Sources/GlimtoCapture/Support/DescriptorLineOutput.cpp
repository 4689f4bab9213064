#include "Support/DescriptorLineOutput.h"

#include <algorithm>
#include <cerrno>
#include <string>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Support/Errors.h"
#include "Support/Text.h"

namespace glimto {

namespace {

// What a pipe has room for once it is writable, so that a write that may block does not.
constexpr std::size_t pipeBufferBytes = 4096;

// A terminal can be writable and still take nothing, when a line break needs two places.
constexpr std::chrono::milliseconds pauseWithoutRoom(5);

FileDescriptor openedWithoutBlocking(int descriptor)
{
    const auto path = "/dev/fd/" + std::to_string(descriptor);
    FileDescriptor opened(::open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    // Some systems give another number for the same open file.
    if (opened && (::fcntl(opened.get(), F_GETFL) & O_NONBLOCK) == 0)
        opened.close();
    return opened;
}

} // namespace

DescriptorLineOutput::DescriptorLineOutput(int descriptor, std::chrono::milliseconds patience)
    : descriptor_(descriptor)
    , patience_(patience)
{
    struct stat status = {};
    if (::fstat(descriptor_, &status) != 0)
        return;
    isSocket_ = S_ISSOCK(status.st_mode);
    if (S_ISFIFO(status.st_mode) || ::isatty(descriptor_) == 1)
        nonBlocking_ = openedWithoutBlocking(descriptor_);
}

void DescriptorLineOutput::writeLine(std::string_view line)
{
    const std::lock_guard lock(mutex_);
    const auto patience = readerHasStopped_ ? std::chrono::milliseconds::zero() : patience_;
    const auto outcome = write(singleLine(line), Clock::now() + patience);
    readerHasStopped_ = outcome == Outcome::readerStopped;
}

void DescriptorLineOutput::writeDocument(std::string_view text)
{
    const std::lock_guard lock(mutex_);
    if (write(text, std::nullopt) == Outcome::written || errno == EPIPE || errno == ECONNRESET)
        return;
    throw PlatformError::posix("Could not write the output", errno);
}

// After a failure errno says why.
DescriptorLineOutput::Outcome DescriptorLineOutput::write(
    std::string_view text, std::optional<Clock::time_point> deadline)
{
    std::string line = lineIsTorn_ ? "\n" : "";
    line.append(text).append("\n");
    std::string_view rest = line;
    while (!rest.empty()) {
        const bool hasRoom = waitForRoom(deadline);
        const auto written = hasRoom ? writeSome(rest) : -1;
        if (written >= 0) {
            rest.remove_prefix(static_cast<std::size_t>(written));
            continue;
        }
        if (hasRoom && errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR)
            return Outcome::failed;
        if (!hasRoom || (deadline && Clock::now() >= *deadline)) {
            lineIsTorn_ = lineIsTorn_ || rest.size() < line.size();
            return Outcome::readerStopped;
        }
        std::this_thread::sleep_for(pauseWithoutRoom);
    }
    lineIsTorn_ = false;
    return Outcome::written;
}

// False when the deadline has passed without room. Errors count as room: the write tells them.
bool DescriptorLineOutput::waitForRoom(std::optional<Clock::time_point> deadline) const
{
    pollfd entry = {.fd = descriptor_, .events = POLLOUT, .revents = 0};
    while (true) {
        int milliseconds = -1;
        if (deadline) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(*deadline - Clock::now()).count();
            milliseconds = static_cast<int>(std::clamp<std::int64_t>(left, 0, 1'000'000));
        }
        const int result = ::poll(&entry, 1, milliseconds);
        if (result >= 0 || errno != EINTR)
            return result > 0;
    }
}

long DescriptorLineOutput::writeSome(std::string_view text) const
{
    if (isSocket_)
        return ::send(descriptor_, text.data(), text.size(), MSG_DONTWAIT);
    if (nonBlocking_)
        return ::write(nonBlocking_.get(), text.data(), text.size());
    return ::write(descriptor_, text.data(), std::min(text.size(), pipeBufferBytes));
}

} // namespace glimto
