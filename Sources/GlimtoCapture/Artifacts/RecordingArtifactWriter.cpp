#include "Artifacts/RecordingArtifactWriter.h"

#include <cstdint>
#include <utility>

#include "Support/AtomicFile.h"
#include "Support/JSONText.h"
#include "Support/TimeStamps.h"

namespace glimto {

namespace {

constexpr const char* mediaPlaylistFileName = "playlist.m3u8"; // of a track, beside its segments

std::string audioSource(const RecordOptions& options)
{
    if (!options.microphoneDeviceID)
        return "system";
    return options.captureSystemAudio ? "system+microphone" : "microphone";
}

std::string audioNote(const std::optional<MediaManifest::Audio>& audio)
{
    if (!audio)
        return "Screen video only; audio was not requested.";
    if (audio->source == "system")
        return "System audio was captured through ScreenCaptureKit and encoded as AAC.";
    if (audio->source == "microphone")
        return "Microphone audio was captured through AVFoundation and encoded as AAC.";
    return "System audio from ScreenCaptureKit and the microphone were mixed into one AAC track.";
}

double totalDuration(const std::vector<CapturedSegment>& segments)
{
    double seconds = 0;
    for (const auto& segment : segments)
        seconds += segment.duration;
    return seconds;
}

std::int64_t totalBytes(const std::vector<CapturedSegment>& segments)
{
    std::int64_t bytes = 0;
    for (const auto& segment : segments)
        bytes += segment.bytes;
    return bytes;
}

} // namespace

// Links in a take lead out of it.
FileBelow RecordingArtifactWriter::fileOfTake(const std::filesystem::path& url) const
{
    return {plan.root, url.lexically_relative(plan.root).string()};
}

void RecordingArtifactWriter::writeAll(const FinishedTake& take) const
{
    if (!take.audioInitSegmentKey) {
        writeMediaPlaylist(
            plan.playlistURL, take.videoInitSegmentKey, take.tracks.video, PlaylistPlacement::aboveSegments);
        writeManifest(take);
        return;
    }
    writeMediaPlaylist(plan.videoSegmentsDirectory / mediaPlaylistFileName, take.videoInitSegmentKey,
        take.tracks.video, PlaylistPlacement::besideSegments);
    writeMediaPlaylist(plan.audioSegmentsDirectory / mediaPlaylistFileName, *take.audioInitSegmentKey,
        take.tracks.audio, PlaylistPlacement::besideSegments);
    writeManifest(take);
    writeMasterPlaylist(take.width, take.height, take.options.framesPerSecond, take.tracks.videoCodec);
}

void RecordingArtifactWriter::writeMediaPlaylist(const std::filesystem::path& url,
    const std::string& initSegmentKey, const std::vector<CapturedSegment>& segments,
    PlaylistPlacement placement) const
{
    writeFileAtomically(fileOfTake(url), mediaPlaylistText(initSegmentKey, segments, placement));
}

void RecordingArtifactWriter::writeMasterPlaylist(
    int width, int height, int framesPerSecond, const VideoCodec& videoCodec) const
{
    writeFileAtomically(fileOfTake(plan.playlistURL),
        masterPlaylistText(width, height, framesPerSecond, videoCodec.playlistCodec));
}

void RecordingArtifactWriter::writeManifest(const FinishedTake& take) const
{
    const auto content = manifest(take, std::chrono::system_clock::now());
    writeFileAtomically(plan.manifestURL, encodePrettyJSON(toJSON(content)));
}

MediaManifest RecordingArtifactWriter::manifest(
    const FinishedTake& take, std::chrono::system_clock::time_point createdAt) const
{
    const CapturedTracks& tracks = take.tracks;
    MediaManifest manifest;
    manifest.createdAt = iso8601Timestamp(createdAt);
    manifest.initSegmentKey = take.videoInitSegmentKey;
    manifest.preferredSegmentDuration = take.options.segmentSeconds;
    manifest.totalDuration = totalDuration(tracks.video);
    manifest.totalBytes = totalBytes(tracks.video) + totalBytes(tracks.audio);
    manifest.video.source = take.sourceDescription;
    manifest.video.codec = tracks.videoCodec.name;
    manifest.video.width = take.width;
    manifest.video.height = take.height;
    manifest.video.framesPerSecond = take.options.framesPerSecond;
    manifest.video.hasAudio = take.audioInitSegmentKey.has_value();
    manifest.segments = tracks.video;
    if (take.audioInitSegmentKey) {
        MediaManifest::Audio audio;
        audio.source = audioSource(take.options);
        audio.sampleRate = audioSampleRate;
        audio.channelCount = audioChannelCount;
        audio.initSegmentKey = *take.audioInitSegmentKey;
        audio.segmentCount = static_cast<int>(tracks.audio.size());
        manifest.audio = std::move(audio);
        manifest.audioSegments = tracks.audio;
    }
    manifest.notes = {
        "Segments are emitted directly by AVAssetWriter using MPEG4AppleHLS profile.",
        audioNote(manifest.audio),
    };
    return manifest;
}

} // namespace glimto
