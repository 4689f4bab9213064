#pragma once

#include <filesystem>

#include "Support/FileDescriptor.h"

namespace glimto {

enum class FileLockOutcome { acquired, heldByAnother, couldNotOpen, couldNotLock };

// An exclusive advisory lock (flock) on a file. It is never waited for, and it is freed when this
// object or the process ends; the file stays.
class FileLock {
public:
    // The file is opened read-write, made with mode 0600, never through a symbolic link, close-on-exec.
    // `lock` is set only when the outcome is `acquired`.
    static FileLockOutcome tryAcquire(const std::filesystem::path& path, FileLock& lock);

    // The same for a directory that exists, in which nothing is made for it. A file system that cannot lock
    // directories counts as `acquired`.
    static FileLockOutcome tryAcquireDirectory(const std::filesystem::path& path, FileLock& lock);

private:
    static FileLockOutcome acquire(FileDescriptor descriptor, FileLock& lock);

    FileDescriptor descriptor_;
};

} // namespace glimto
