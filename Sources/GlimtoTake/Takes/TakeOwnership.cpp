#include "GlimtoTake/Takes/TakeOwnership.h"

#include <string>

#include "Support/Errors.h"
#include "Support/Paths.h"
#include "Support/Text.h"

namespace glimto {

TakeOwnership::TakeOwnership(const std::filesystem::path& directory)
{
    if (FileLock::tryAcquireDirectory(directory, directory_) == FileLockOutcome::heldByAnother)
        throw CLIError("The take is being recorded: " + singleLine(directory.string()));
    const std::filesystem::path lock = directory / ".recording-owner.lock";
    if (!stands(lock))
        return;
    switch (FileLock::tryAcquire(lock, job_)) {
    case FileLockOutcome::acquired:
        return;
    case FileLockOutcome::heldByAnother:
        throw CLIError("Recording is in use by another process.");
    case FileLockOutcome::couldNotOpen:
    case FileLockOutcome::couldNotLock:
        throw CLIError("Could not open recording ownership file.");
    }
}

bool TakeOwnership::isBeingRecorded(const std::filesystem::path& directory)
{
    FileLock lock;
    return FileLock::tryAcquireDirectory(directory, lock) == FileLockOutcome::heldByAnother;
}

} // namespace glimto
