#include "GlimtoTake/Takes/TakeFiles.h"

#include <algorithm>
#include <string_view>
#include <system_error>

#include "Artifacts/CapturedSegment.h"
#include "Support/DecimalText.h"
#include "Support/Errors.h"
#include "Support/Paths.h"
#include "Support/RegularFile.h"
#include "Support/Text.h"

namespace glimto {

namespace {

namespace fs = std::filesystem;

bool isRealDirectory(const fs::path& path)
{
    std::error_code ignored;
    return fs::symlink_status(path, ignored).type() == fs::file_type::directory;
}

std::uint64_t requireRegularFile(const fs::path& path)
{
    std::error_code error;
    if (fs::symlink_status(path, error).type() != fs::file_type::regular)
        throw CLIError(singleLine(path.string()) + " is not a regular file.");
    const std::uintmax_t size = fs::file_size(path, error);
    if (error)
        throw PlatformError::posix("Could not read " + path.string(), error.value());
    return size;
}

// The index in "segment_<index>.m4s"; absent for every other name.
std::optional<int> segmentIndex(std::string_view name)
{
    constexpr std::string_view before = "segment_";
    constexpr std::string_view after = ".m4s";
    if (name.size() < before.size() + 3 + after.size() || !name.starts_with(before) || !name.ends_with(after))
        return std::nullopt;
    name.remove_prefix(before.size());
    name.remove_suffix(after.size());
    const auto index = wholeNumber<int>(name);
    const bool isCanonical = name.size() == 3 || name.front() != '0';
    return index && *index >= 0 && isCanonical ? index : std::nullopt;
}

// The index in ".segment_<index>.m4s.<anything>.tmp".
std::optional<int> unfinishedIndex(std::string_view name)
{
    constexpr std::string_view type = ".m4s.";
    if (!name.starts_with(".segment_") || !name.ends_with(".tmp"))
        return std::nullopt;
    const auto end = name.find(type);
    if (end == std::string_view::npos)
        return std::nullopt;
    return segmentIndex(name.substr(1, end + type.size() - 2));
}

bool isLeftover(std::string_view name)
{
    return name.starts_with(".")
        && (name.ends_with(".tmp") || (name.starts_with(".thumbnail-") && name.ends_with(".jpg")));
}

template <typename Function> void forEachFile(const fs::path& directory, Function&& function)
{
    std::error_code error;
    for (fs::directory_iterator entry(directory, error), end; !error && entry != end; entry.increment(error))
        function(entry->path());
    if (error && error != std::errc::no_such_file_or_directory)
        throw PlatformError::posix("Could not read " + directory.string(), error.value());
}

void sortByIndex(std::vector<SegmentFile>& files)
{
    std::sort(files.begin(), files.end(), [](const SegmentFile& a, const SegmentFile& b) {
        return a.index != b.index ? a.index < b.index : a.path < b.path;
    });
}

} // namespace

TakeFiles TakeFiles::open(const fs::path& directory)
{
    TakeFiles files;
    files.plan_ = OutputPlan::forRoot(directory);
    const std::string shown = singleLine(files.plan_.root.string());
    std::error_code ignored;
    if (!fs::is_directory(files.plan_.root, ignored))
        throw CLIError(shown + " is not a directory.");
    if (!stands(files.plan_.manifestURL) && !stands(files.plan_.segmentsDirectory))
        throw CLIError(shown + " is not a take: it has neither manifest.json nor segments.");
    return files;
}

TrackFiles TakeFiles::track(const std::string& name) const
{
    TrackFiles track;
    track.name = name;
    track.directory = plan_.segmentsDirectory / name;
    for (const fs::path& directory : {plan_.segmentsDirectory, track.directory}) {
        if (!stands(directory))
            return track;
        if (!isRealDirectory(directory))
            throw CLIError(singleLine(directory.string()) + " is not a directory of the take.");
    }
    if (const fs::path path = track.directory / "init.mp4"; stands(path)) {
        requireRegularFile(path);
        track.initializationSegment = path;
    }
    forEachFile(track.directory, [&](const fs::path& path) {
        const std::string file = path.filename().string();
        if (const auto index = segmentIndex(file))
            track.segments.push_back({*index, path, requireRegularFile(path)});
        else if (const auto hidden = unfinishedIndex(file))
            track.unfinished.push_back({*hidden, path, requireRegularFile(path)});
        if (track.segments.size() + track.unfinished.size() > mostSegments)
            throw CLIError(singleLine(track.directory.string()) + " holds too many segments.");
    });
    sortByIndex(track.segments);
    sortByIndex(track.unfinished);
    return track;
}

std::optional<std::string> TakeFiles::text(const fs::path& path, std::size_t mostBytes) const
{
    if (!stands(path))
        return std::nullopt;
    auto content = readRegularFile(path, mostBytes, SymbolicLinks::refused);
    if (!content)
        throw CLIError(singleLine(path.string()) + " is not a regular file.");
    return content;
}

std::vector<fs::path> TakeFiles::leftovers() const
{
    std::vector<fs::path> found;
    const auto collect = [&](const fs::path& path) {
        std::error_code ignored;
        if (isLeftover(path.filename().string())
            && fs::symlink_status(path, ignored).type() == fs::file_type::regular)
            found.push_back(path);
    };
    for (const fs::path& directory :
        {plan_.root, plan_.segmentsDirectory, plan_.videoSegmentsDirectory, plan_.audioSegmentsDirectory}) {
        if (isRealDirectory(directory))
            forEachFile(directory, collect);
    }
    std::sort(found.begin(), found.end());
    return found;
}

} // namespace glimto
