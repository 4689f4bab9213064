#include "Support/FileLock.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>

namespace glimto {

FileLockOutcome FileLock::tryAcquire(const std::filesystem::path& path, FileLock& lock)
{
    return acquire(
        FileDescriptor(::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600)), lock);
}

FileLockOutcome FileLock::tryAcquireDirectory(const std::filesystem::path& path, FileLock& lock)
{
    const auto outcome
        = acquire(FileDescriptor(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)), lock);
    return outcome == FileLockOutcome::couldNotLock ? FileLockOutcome::acquired : outcome;
}

FileLockOutcome FileLock::acquire(FileDescriptor descriptor, FileLock& lock)
{
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
