#include "Support/DescriptorLineOutput.h"

#include <algorithm>
#include <cerrno>
#include <string>

#include <poll.h>
#include <unistd.h>

namespace glimto {

namespace {

// What a pipe takes in one piece: a shorter line is written whole or not at all.
constexpr std::size_t pipeBufferBytes = 4096;

// A driving program that stopped reading must not stop a recording for good, so a line that fits the
// pipe is dropped after this long. Longer output is a document, whose reader may be a pager: it waits.
constexpr int patienceMilliseconds = 2000;

bool waitUntilWritable(int descriptor, bool isDocument)
{
    pollfd entry = {.fd = descriptor, .events = POLLOUT, .revents = 0};
    int result = 0;
    do {
        result = ::poll(&entry, 1, isDocument ? -1 : patienceMilliseconds);
    } while (result < 0 && errno == EINTR);
    return result > 0;
}

} // namespace

void DescriptorLineOutput::writeLine(std::string_view line)
{
    std::string text(line);
    text += '\n';
    const std::lock_guard lock(mutex_);
    std::string_view rest = text;
    while (!rest.empty()) {
        if (!waitUntilWritable(descriptor_, text.size() > pipeBufferBytes))
            return;
        // Never more than the pipe has room for once it is writable, so that the write cannot block.
        const ssize_t written = ::write(descriptor_, rest.data(), std::min(rest.size(), pipeBufferBytes));
        if (written < 0) {
            if (errno == EINTR || errno == EAGAIN)
                continue;
            return;
        }
        rest.remove_prefix(static_cast<std::size_t>(written));
    }
}

} // namespace glimto
