#pragma once

#include <filesystem>
#include <vector>

#include "Support/FileLock.h"

namespace glimto {

// The directories that preparing a take makes. Made just before, it knows which of them are new, so that a
// recording that comes to nothing can leave the place as it was.
class TakeDirectories {
public:
    explicit TakeDirectories(const std::filesystem::path& root);

    // Makes the take's directory and keeps other processes from recording there, as long as this lives.
    // Throws CLIError when one does.
    void claim();

    // Flushes them and what leads to them, so that a power cut takes no file that was flushed itself. Throws
    // PlatformError.
    void sync() const;

    // Removes the directories made since, as far as they are empty.
    void removeEmpty() const noexcept;

private:
    std::filesystem::path root_;
    FileLock lock_;
    std::vector<std::filesystem::path> missing_; // innermost first
};

} // namespace glimto
