#include "CommandLine/ScreenCaptureProcessLock.h"

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>
#include <variant>

#include "Lifecycle/GlimtoCaptureLifecycleError.h"
#include "Support/Errors.h"
#include "Support/SHA256.h"

namespace glimto {

namespace {

constexpr const char* productIdentifier = "com.glimto.capture";

bool usesScreenCapture(const Command& command)
{
    return std::holds_alternative<WindowListOptions>(command)
        || std::holds_alternative<ScreenshotOptions>(command)
        || std::holds_alternative<RecordOptions>(command) || std::holds_alternative<SourcesCommand>(command);
}

std::filesystem::path resolvedExecutable(const ProcessEnvironment& environment)
{
    const auto path = environment.executablePath();
    if (!path)
        throw CLIError("Could not resolve the screen capture executable.");
    // An executable that was replaced while it runs no longer has a file: its name still identifies it.
    std::error_code error;
    auto resolved = std::filesystem::weakly_canonical(*path, error);
    return error ? *path : resolved;
}

std::filesystem::path lockDirectory(const ProcessEnvironment& environment)
{
    const auto caches = environment.cachesDirectory();
    if (!caches)
        throw PlatformError::posix("Could not find the user's caches directory", ENOENT);
    auto directory = *caches / productIdentifier / "locks";
    std::error_code error;
    std::filesystem::create_directories(directory, error);
    if (error)
        throw PlatformError::posix("Could not create " + directory.string(), error.value());
    return directory;
}

} // namespace

ScreenCaptureProcessLock::ScreenCaptureProcessLock(FileLock lock)
    : lock_(std::move(lock))
{
}

std::optional<ScreenCaptureProcessLock> ScreenCaptureProcessLock::acquire(
    const Command& command, const ProcessEnvironment& environment)
{
    if (!usesScreenCapture(command))
        return std::nullopt;
    const std::string name = sha256Hex(resolvedExecutable(environment).string()) + ".lock";
    const auto path = lockDirectory(environment) / name;
    FileLock lock;
    switch (FileLock::tryAcquire(path, lock)) {
    case FileLockOutcome::acquired:
        return ScreenCaptureProcessLock(std::move(lock));
    case FileLockOutcome::heldByAnother:
        throw GlimtoCaptureLifecycleError("busy",
            "Screen capture is in use. Finish the active capture before starting another capture command.");
    case FileLockOutcome::couldNotOpen:
        throw CLIError("Could not open the screen capture process lock.");
    case FileLockOutcome::couldNotLock:
        break;
    }
    throw CLIError("Could not acquire the screen capture process lock.");
}

} // namespace glimto
