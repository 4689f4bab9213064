#include "Support/FileLock.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>

namespace glimto {

FileLockOutcome FileLock::tryAcquire(const std::filesystem::path& path, FileLock& lock)
{
    FileDescriptor descriptor(::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!descriptor)
        return FileLockOutcome::couldNotOpen;
    int result = 0;
    do {
        result = ::flock(descriptor.get(), LOCK_EX | LOCK_NB);
    } while (result != 0 && errno == EINTR);
    if (result != 0)
        return errno == EWOULDBLOCK ? FileLockOutcome::heldByAnother : FileLockOutcome::couldNotLock;
    lock.descriptor_ = std::move(descriptor);
    return FileLockOutcome::acquired;
}

} // namespace glimto
