#include "Support/FileDescriptor.h"

#include <cerrno>

#include <unistd.h>

namespace glimto {

int FileDescriptor::close() noexcept
{
    const int descriptor = std::exchange(descriptor_, -1);
    if (descriptor < 0 || ::close(descriptor) == 0)
        return 0;
    return errno;
}

} // namespace glimto
