#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "Artifacts/OutputPlan.h"

namespace glimto {

// One file of a track: a segment under its name, or one that was not complete when its writer ended.
struct SegmentFile {
    int index = 0; // as its name tells
    std::filesystem::path path;
    std::uint64_t size = 0; // bytes
};

// What lies in "segments/video" or "segments/audio".
struct TrackFiles {
    std::string name; // "video" or "audio"
    std::filesystem::path directory;
    std::optional<std::filesystem::path> initializationSegment;
    std::vector<SegmentFile> segments; // by index
    std::vector<SegmentFile> unfinished; // hidden files under which segments grow, by index
};

// The directory of one take, which may come from anywhere: nothing in it is believed, symbolic links are not
// followed, and what is not a regular file is refused where it counts.
class TakeFiles {
public:
    static constexpr int mostSegments = 1'000'000;

    // Throws CLIError when `directory` is no directory, or no take: it then has neither "manifest.json" nor
    // "segments".
    static TakeFiles open(const std::filesystem::path& directory);

    const OutputPlan& plan() const { return plan_; }

    // Throws CLIError when something that is not a regular file has a segment's name.
    TrackFiles track(const std::string& name) const;

    // The content of a small file below the take; absent when it is not there. Throws CLIError when it is no
    // regular file, and PlatformError when it cannot be read or is too long.
    std::optional<std::string> text(const std::filesystem::path& path, std::size_t mostBytes) const;

    // Hidden files that writers of this program leave when they are killed.
    std::vector<std::filesystem::path> leftovers() const;

private:
    OutputPlan plan_;
};

} // namespace glimto
