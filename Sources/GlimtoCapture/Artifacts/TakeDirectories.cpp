#include "Artifacts/TakeDirectories.h"

#include <set>
#include <system_error>

#include "Artifacts/OutputPlan.h"
#include "Support/AtomicFile.h"
#include "Support/Errors.h"
#include "Support/Paths.h"

namespace glimto {

TakeDirectories::TakeDirectories(const std::filesystem::path& root)
{
    const OutputPlan plan = OutputPlan::forRoot(root);
    root_ = plan.root;
    missing_ = {plan.audioSegmentsDirectory, plan.videoSegmentsDirectory, plan.segmentsDirectory};
    std::error_code ignored;
    // With --overwrite an old take goes first, so what lies inside the root is new in any case.
    for (auto path = plan.root; path.has_relative_path() && !std::filesystem::exists(path, ignored);
         path = path.parent_path())
        missing_.push_back(path);
}

void TakeDirectories::claim()
{
    makeDirectories(root_);
    if (FileLock::tryAcquireDirectory(root_, lock_) == FileLockOutcome::heldByAnother)
        throw CLIError("Recording is in use by another process.");
}

void TakeDirectories::sync() const
{
    std::set<std::filesystem::path> directories;
    for (const auto& path : missing_) {
        directories.insert(path);
        directories.insert(path.parent_path());
    }
    for (const auto& directory : directories)
        syncDirectory(directory);
}

void TakeDirectories::removeEmpty() const noexcept
{
    for (const auto& path : missing_) {
        std::error_code ignored;
        if (std::filesystem::is_directory(std::filesystem::symlink_status(path, ignored)))
            std::filesystem::remove(path, ignored); // fails, as it should, when something lies in it
    }
}

} // namespace glimto
