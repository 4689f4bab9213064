#include "Progress/ProgressChannel.h"

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Progress/ProgressJSON.h"
#include "Support/DecimalText.h"
#include "Support/Text.h"

namespace glimto {

namespace {

// Why the progress channel cannot be there; empty when it can.
std::string problemOf(int descriptor)
{
    if (descriptor <= STDERR_FILENO)
        return "is a standard stream";
    const int flags = ::fcntl(descriptor, F_GETFL);
    struct stat status = {};
    if (flags < 0 || ::fstat(descriptor, &status) != 0)
        return "is not open";
    if ((flags & O_ACCMODE) == O_RDONLY)
        return "is not open for writing";
    if (!S_ISFIFO(status.st_mode) && !S_ISSOCK(status.st_mode) && !S_ISREG(status.st_mode))
        return "is neither a pipe nor a socket nor a file";
    return "";
}

} // namespace

ProgressDescriptor ProgressDescriptor::take(const ProcessEnvironment& process)
{
    const auto value = process.variable(variable);
    if (!value || value->empty())
        return {};
    const auto number = wholeNumber<int>(*value);
    const std::string problem = number && *number >= 0 ? problemOf(*number) : "is no number of a descriptor";
    if (!problem.empty())
        return {{}, std::string(variable) + ": \"" + excerpt(*value) + "\" " + problem};
    ::fcntl(*number, F_SETFD, FD_CLOEXEC);
    return {FileDescriptor(*number), ""};
}

ProgressChannel::ProgressChannel(FileDescriptor descriptor)
    : descriptor_(std::move(descriptor))
    , writer_(std::make_unique<NonBlockingWriter>(descriptor_.get()))
{
}

void ProgressChannel::show(const RecordingSnapshot& snapshot)
{
    // What a reader has the beginning of is finished first. A line that finds no room at all is lost.
    if (!rest_.empty())
        rest_.erase(0, write(rest_));
    if (!rest_.empty())
        return;
    const std::string line = progressJSON(snapshot) + "\n";
    if (const auto written = write(line); written > 0)
        rest_ = line.substr(written);
}

// How much of `text` there was room for.
std::size_t ProgressChannel::write(std::string_view text)
{
    const auto written = writer_ ? writer_->write(text) : 0;
    if (written >= 0)
        return static_cast<std::size_t>(written);
    if (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR) {
        writer_.reset();
        descriptor_.close();
    }
    return 0;
}

} // namespace glimto
