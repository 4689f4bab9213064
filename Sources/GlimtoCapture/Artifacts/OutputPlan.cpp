#include "Artifacts/OutputPlan.h"

#include <algorithm>
#include <cerrno>
#include <functional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "Support/AtomicFile.h"
#include "Support/Errors.h"
#include "Support/Paths.h"

namespace glimto {

namespace {

namespace fs = std::filesystem;

// Events of a recording that was killed. It belongs to what else that recording has left.
constexpr const char* partialEventsName = ".events.partial";

std::vector<fs::path> existingProofArtifacts(const fs::path& root)
{
    std::vector<fs::path> existing;
    for (const auto name : OutputPlan::artifactNames) {
        if (fs::path path = root / name; stands(path))
            existing.push_back(std::move(path));
    }
    return existing;
}

std::string joinedNames(const std::vector<fs::path>& paths)
{
    std::string names;
    for (const auto& path : paths)
        names += (names.empty() ? "" : ", ") + path.filename().string();
    return names;
}

void removeArtifact(const fs::path& path)
{
    std::error_code error;
    fs::remove_all(path, error); // removes a link itself, never what it points to
    if (error)
        throw PlatformError::posix("Could not remove " + path.string(), error.value());
}

void removeFiles(const fs::path& directory, const std::function<bool(const std::string& name)>& isLeftover)
{
    std::error_code error;
    if (!fs::is_directory(fs::symlink_status(directory, error)))
        return;
    for (fs::directory_iterator at(directory, error); !error && at != fs::directory_iterator();
         at.increment(error)) {
        std::error_code ignored;
        if (isLeftover(at->path().filename().string()) && fs::is_regular_file(at->symlink_status(ignored)))
            fs::remove(at->path(), ignored);
    }
}

bool isTemporaryBesideSegments(const std::string& name)
{
    const auto& artifacts = OutputPlan::artifactNames;
    const auto file = fileOfTemporary(name);
    return (file == "upload-job.json")
        || (file && std::find(artifacts.begin(), artifacts.end(), *file) != artifacts.end())
        || (name.starts_with(".thumbnail-") && name.ends_with(".jpg"));
}

} // namespace

OutputPlan OutputPlan::forRoot(const fs::path& root)
{
    OutputPlan plan;
    plan.root = standardizedPath(root);
    plan.segmentsDirectory = plan.root / "segments";
    plan.videoSegmentsDirectory = plan.segmentsDirectory / "video";
    plan.audioSegmentsDirectory = plan.segmentsDirectory / "audio";
    plan.playlistURL = plan.segmentsDirectory / "playlist.m3u8";
    plan.manifestURL = plan.root / "manifest.json";
    plan.thumbnailURL = plan.root / "thumbnail.jpg";
    plan.eventsURL = plan.root / "events.json";
    return plan;
}

OutputPlan OutputPlan::check(const fs::path& root, EarlierTake earlier)
{
    OutputPlan plan = forRoot(root);
    const auto existing = existingProofArtifacts(plan.root);
    if (!existing.empty() && earlier == EarlierTake::kept)
        throw CLIError("Output directory already contains proof artifacts: " + joinedNames(existing)
            + ". Use --overwrite or choose a new directory.");
    return plan;
}

OutputPlan OutputPlan::prepare(const fs::path& root, EarlierTake earlier)
{
    OutputPlan plan = check(root, earlier);
    for (const auto& path : existingProofArtifacts(plan.root))
        removeArtifact(path);
    if (const fs::path partial = plan.root / partialEventsName;
        stands(partial) && earlier == EarlierTake::removed)
        removeArtifact(partial);
    makeDirectories(plan.root);
    makeDirectories(plan.videoSegmentsDirectory);
    makeDirectories(plan.audioSegmentsDirectory);
    plan.removeLeftovers();
    return plan;
}

void OutputPlan::removeLeftovers() const
{
    removeFiles(root, isTemporaryBesideSegments);
    // In the take's own directories every temporary file is one of ours.
    for (const auto& directory : {segmentsDirectory, videoSegmentsDirectory, audioSegmentsDirectory})
        removeFiles(directory, [](const std::string& name) { return fileOfTemporary(name).has_value(); });
}

} // namespace glimto
