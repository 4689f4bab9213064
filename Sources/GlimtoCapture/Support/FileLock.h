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

private:
    FileDescriptor descriptor_;
};

} // namespace glimto
