#pragma once

#include <filesystem>

namespace glimto {

// Where every file of a take lies below the take's directory. All paths are absolute.
struct OutputPlan {
    std::filesystem::path root; // without "." and "..", and without a slash at the end
    std::filesystem::path segmentsDirectory; // root/segments
    std::filesystem::path videoSegmentsDirectory; // root/segments/video
    std::filesystem::path audioSegmentsDirectory; // root/segments/audio
    std::filesystem::path playlistURL; // root/segments/playlist.m3u8
    std::filesystem::path manifestURL; // root/manifest.json
    std::filesystem::path thumbnailURL; // root/thumbnail.jpg
    std::filesystem::path eventsURL; // root/events.json

    // The plan for a take in `root`, which is made absolute against the working directory; the disk is
    // not looked at. Throws PlatformError when there is no working directory.
    static OutputPlan forRoot(const std::filesystem::path& root);

    // The plan for a take in `root`; nothing on the disk changes. Throws CLIError when files of an earlier
    // take are in the way and `overwrite` does not allow to remove them, and what forRoot() throws.
    static OutputPlan check(const std::filesystem::path& root, bool overwrite);

    // The same, and the directories then exist and hold no file of an earlier take.
    //
    // Files of an earlier take are "segments", "manifest.json", "thumbnail.jpg", "events.json" and what
    // the outside verification leaves. With `overwrite` they are removed (and so is ".events.partial"), and a
    // symbolic link among them goes without what it points to; nothing else is touched. Without it they make
    // this throw CLIError. Throws PlatformError (POSIX) when something cannot be removed or made.
    static OutputPlan prepare(const std::filesystem::path& root, bool overwrite);

    friend bool operator==(const OutputPlan&, const OutputPlan&) = default;
};

} // namespace glimto
