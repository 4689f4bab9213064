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

bool waitUntilWritable(int descriptor, int milliseconds)
{
    pollfd entry = {.fd = descriptor, .events = POLLOUT, .revents = 0};
    int result = 0;
    do {
        result = ::poll(&entry, 1, milliseconds);
    } while (result < 0 && errno == EINTR);
    return result > 0;
}

} // namespace

void DescriptorLineOutput::writeLine(std::string_view line)
{
    std::string text(line);
    text += '\n';
    const std::lock_guard lock(mutex_);
    // A driving program that stopped reading must not stop a recording for good, so a line that fits the
    // pipe is dropped after a while, and those after it at once until there is room again. Longer output
    // is a document, whose reader may be a pager: it waits.
    const bool isDocument = text.size() > pipeBufferBytes;
    std::string_view rest = text;
    while (!rest.empty()) {
        const int patience = readerHasStopped_ ? 0 : static_cast<int>(patience_.count());
        readerHasStopped_ = !waitUntilWritable(descriptor_, isDocument ? -1 : patience);
        if (readerHasStopped_)
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
