#include "Support/StandardStreams.h"

#include <array>
#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace glimto {

namespace {

bool isOpen(int descriptor)
{
    return ::fcntl(descriptor, F_GETFD) >= 0 || errno != EBADF;
}

} // namespace

void openStandardStreams()
{
    if (!isOpen(STDIN_FILENO)) {
        const int reserved = ::open("/dev/null", O_RDWR); // takes the lowest free number: this one
        // The writing end of a pipe cannot be read from.
        std::array<int, 2> ends = {};
        if (::pipe(ends.data()) == 0) {
            ::dup2(ends[1], reserved);
            ::close(ends[0]);
            ::close(ends[1]);
        }
    }
    if (!isOpen(STDOUT_FILENO))
        ::open("/dev/null", O_RDONLY);
    if (!isOpen(STDERR_FILENO))
        ::open("/dev/null", O_RDWR);
}

} // namespace glimto
