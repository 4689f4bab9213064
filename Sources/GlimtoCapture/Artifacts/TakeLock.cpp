#include "Artifacts/TakeLock.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>

namespace glimto {

std::optional<FileDescriptor> lockTake(const std::filesystem::path& directory)
{
    FileDescriptor descriptor(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (descriptor && ::flock(descriptor.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno == EWOULDBLOCK)
            return std::nullopt;
        descriptor.close();
    }
    return descriptor;
}

} // namespace glimto
