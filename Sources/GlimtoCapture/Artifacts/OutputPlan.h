#pragma once

#include <array>
#include <filesystem>
#include <string_view>

namespace glimto {

// Where every file of a take lies below the take's directory. All paths are absolute.
struct OutputPlan {
    // What a take and its verification may leave in its directory, in the order in which it is told.
    static constexpr std::array<std::string_view, 8> artifactNames
        = {"segments", "manifest.json", "thumbnail.jpg", "events.json", "result.mp4", "result.ffprobe.json",
            "playlist.ffprobe.json", "verification.json"};

    std::filesystem::path root; // without "." and "..", and without a slash at the end
    std::filesystem::path segmentsDirectory; // root/segments
    std::filesystem::path videoSegmentsDirectory; // root/segments/video
    std::filesystem::path audioSegmentsDirectory; // root/segments/audio
    std::filesystem::path playlistURL; // root/segments/playlist.m3u8
    std::filesystem::path manifestURL; // root/manifest.json
    std::filesystem::path thumbnailURL; // root/thumbnail.jpg
    std::filesystem::path eventsURL; // root/events.json

    // The plan for a take in `root`, as standardizedPath() has it, whether anything is there or not. Throws
    // what that throws.
    static OutputPlan forRoot(const std::filesystem::path& root);

    // What becomes of the files of an earlier take that are in the way.
    enum class EarlierTake { kept, removed };
    static EarlierTake earlierTake(bool overwrite)
    {
        return overwrite ? EarlierTake::removed : EarlierTake::kept;
    }

    // The plan for a take in `root`; nothing on the disk changes. Throws CLIError when files of an earlier
    // take are in the way and to be kept, and what forRoot() throws.
    static OutputPlan check(const std::filesystem::path& root, EarlierTake earlier);

    // The same, and the directories then exist and hold no file of an earlier take.
    //
    // Files of an earlier take are "segments", "manifest.json", "thumbnail.jpg", "events.json" and what
    // the outside verification leaves. When they are removed, so is ".events.partial", and a symbolic link
    // among them goes without what it points to; nothing else is touched. Throws PlatformError (POSIX) when
    // something cannot be removed or made.
    static OutputPlan prepare(const std::filesystem::path& root, EarlierTake earlier);

    // Removes the temporary files that a process which was killed has left in the take. The take must be in
    // our hands. Whatever goes wrong is ignored.
    void removeLeftovers() const;

    friend bool operator==(const OutputPlan&, const OutputPlan&) = default;
};

} // namespace glimto
