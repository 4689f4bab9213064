#pragma once

#include <optional>

#include "Options/Command.h"
#include "Platform/ProcessEnvironment.h"
#include "Support/FileLock.h"

namespace glimto {

// Sees to it that one installed copy of the program uses screen capture only once at a time. Held
// until the object or the process ends. Copies at different paths do not block each other; a symbolic
// link to a copy counts as that copy.
class ScreenCaptureProcessLock {
public:
    // Absent when the command does not touch screen capture. Never waits: throws
    // GlimtoCaptureLifecycleError with the code "busy" when another process holds the lock, CLIError when
    // the executable cannot be told or the lock file cannot be used, and PlatformError when its directory,
    // below the user's caches directory, cannot be made.
    static std::optional<ScreenCaptureProcessLock> acquire(
        const Command& command, const ProcessEnvironment& environment);

private:
    explicit ScreenCaptureProcessLock(FileLock lock);

    FileLock lock_;
};

} // namespace glimto
