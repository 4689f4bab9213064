#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "Artifacts/CapturedSegment.h"
#include "Artifacts/HLSPlaylist.h"
#include "Artifacts/MediaManifest.h"
#include "Artifacts/OutputPlan.h"
#include "Options/RecordOptions.h"
#include "Support/FileBelow.h"

namespace glimto {

// What the playlists and the manifest of a finished take tell of it.
struct FinishedTake {
    std::string videoInitSegmentKey;
    std::optional<std::string> audioInitSegmentKey; // present exactly when audio was captured
    const CapturedTracks& tracks;
    int width = 0; // pixels
    int height = 0;
    const RecordOptions& options; // also say where the sound came from
    std::string sourceDescription;
};

// Writes the playlists and the manifest of a finished take. Every file appears whole under its name or
// not at all; what cannot be written is thrown as PlatformError.
//
// A take without audio has one media playlist, `plan.playlistURL`, above its segments. A take with audio
// has a media playlist "playlist.m3u8" beside the segments of each track, and the master playlist at
// `plan.playlistURL`, which is written after the manifest.
struct RecordingArtifactWriter {
    OutputPlan plan;
    int audioSampleRate = 0; // Hz
    int audioChannelCount = 0;

    // Everything, in an order in which each file names only what is there.
    void writeAll(const FinishedTake& take) const;

    void writeMediaPlaylist(const std::filesystem::path& url, const std::string& initSegmentKey,
        const std::vector<CapturedSegment>& segments, PlaylistPlacement placement) const;

    // Writes `plan.playlistURL`.
    void writeMasterPlaylist(int width, int height, int framesPerSecond, const VideoCodec& videoCodec) const;

    // Writes `plan.manifestURL`, created now.
    void writeManifest(const FinishedTake& take) const;

    // What writeManifest() writes.
    MediaManifest manifest(const FinishedTake& take, std::chrono::system_clock::time_point createdAt) const;

private:
    FileBelow fileOfTake(const std::filesystem::path& url) const;
};

} // namespace glimto
