#pragma once

#include <filesystem>

#include "Support/FileLock.h"

namespace glimto {

// Keeps other programs from a take while this one changes it: the lock on the take's directory, which a
// recording holds as long as it runs, and that of its upload job, where it has one.
class TakeOwnership {
public:
    // Throws CLIError "The take is being recorded: <directory>" or "Recording is in use by another process.".
    explicit TakeOwnership(const std::filesystem::path& directory);

    // Whether a recording into the directory runs. Changes nothing.
    static bool isBeingRecorded(const std::filesystem::path& directory);

private:
    FileLock directory_;
    FileLock job_;
};

} // namespace glimto
