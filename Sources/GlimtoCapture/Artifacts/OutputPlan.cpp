#include "Artifacts/OutputPlan.h"

#include <array>
#include <cerrno>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "Support/Errors.h"

namespace glimto {

namespace {

namespace fs = std::filesystem;

constexpr std::array knownProofArtifacts = {"segments", "manifest.json", "thumbnail.jpg", "events.json",
    "result.mp4", "result.ffprobe.json", "playlist.ffprobe.json", "verification.json"};

// Events of a recording that was killed. It belongs to what else that recording has left.
constexpr const char* partialEventsName = ".events.partial";

fs::path standardized(const fs::path& path)
{
    std::error_code error;
    fs::path absolute = path.is_absolute() ? path : fs::current_path(error) / path;
    if (error)
        throw PlatformError::posix("Could not find the working directory", error.value());
    absolute = absolute.lexically_normal();
    return absolute.has_filename() || !absolute.has_relative_path() ? absolute : absolute.parent_path();
}

// A symbolic link counts wherever it points, even to nothing: it stands where the take's file goes.
bool stands(const fs::path& path)
{
    std::error_code ignored;
    return fs::exists(fs::symlink_status(path, ignored));
}

std::vector<fs::path> existingProofArtifacts(const fs::path& root)
{
    std::vector<fs::path> existing;
    for (const char* name : knownProofArtifacts) {
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

void makeDirectories(const fs::path& path)
{
    std::error_code error;
    fs::create_directories(path, error);
    // Not every library reports a file that stands in the way.
    if (std::error_code ignored; !error && !fs::is_directory(path, ignored))
        error = std::make_error_code(std::errc::not_a_directory);
    if (error)
        throw PlatformError::posix("Could not create directory " + path.string(), error.value());
}

} // namespace

OutputPlan OutputPlan::forRoot(const fs::path& root)
{
    OutputPlan plan;
    plan.root = standardized(root);
    plan.segmentsDirectory = plan.root / "segments";
    plan.videoSegmentsDirectory = plan.segmentsDirectory / "video";
    plan.audioSegmentsDirectory = plan.segmentsDirectory / "audio";
    plan.playlistURL = plan.segmentsDirectory / "playlist.m3u8";
    plan.manifestURL = plan.root / "manifest.json";
    plan.thumbnailURL = plan.root / "thumbnail.jpg";
    plan.eventsURL = plan.root / "events.json";
    return plan;
}

OutputPlan OutputPlan::check(const fs::path& root, bool overwrite)
{
    OutputPlan plan = forRoot(root);
    const auto existing = existingProofArtifacts(plan.root);
    if (!existing.empty() && !overwrite)
        throw CLIError("Output directory already contains proof artifacts: " + joinedNames(existing)
            + ". Use --overwrite or choose a new directory.");
    return plan;
}

OutputPlan OutputPlan::prepare(const fs::path& root, bool overwrite)
{
    OutputPlan plan = check(root, overwrite);
    for (const auto& path : existingProofArtifacts(plan.root))
        removeArtifact(path);
    if (const fs::path partial = plan.root / partialEventsName; overwrite && stands(partial))
        removeArtifact(partial);
    makeDirectories(plan.root);
    makeDirectories(plan.videoSegmentsDirectory);
    makeDirectories(plan.audioSegmentsDirectory);
    return plan;
}

} // namespace glimto
