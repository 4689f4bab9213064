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

void RecordingArtifactWriter::writeAll(const std::string& videoInitSegmentKey,
    const std::optional<std::string>& audioInitSegmentKey, const CapturedTracks& tracks, int width,
    int height, const RecordOptions& options, const std::string& sourceDescription) const
{
    if (audioInitSegmentKey) {
        writeMediaPlaylist(plan.videoSegmentsDirectory / mediaPlaylistFileName, videoInitSegmentKey,
            tracks.video, PlaylistPlacement::besideSegments);
        writeMediaPlaylist(plan.audioSegmentsDirectory / mediaPlaylistFileName, *audioInitSegmentKey,
            tracks.audio, PlaylistPlacement::besideSegments);
    } else {
        writeMediaPlaylist(
            plan.playlistURL, videoInitSegmentKey, tracks.video, PlaylistPlacement::aboveSegments);
    }
    writeManifest(
        videoInitSegmentKey, audioInitSegmentKey, tracks, width, height, options, sourceDescription);
    if (audioInitSegmentKey)
        writeMasterPlaylist(width, height, options.framesPerSecond, tracks.videoCodec);
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
    writeFileAtomically(
        fileOfTake(plan.playlistURL), masterPlaylistText(width, height, framesPerSecond, videoCodec.playlistCodec));
}

void RecordingArtifactWriter::writeManifest(const std::string& videoInitSegmentKey,
    const std::optional<std::string>& audioInitSegmentKey, const CapturedTracks& tracks, int width,
    int height, const RecordOptions& options, const std::string& sourceDescription) const
{
    const auto content = manifest(videoInitSegmentKey, audioInitSegmentKey, tracks, width, height, options,
        sourceDescription, std::chrono::system_clock::now());
    writeFileAtomically(plan.manifestURL, encodePrettyJSON(toJSON(content)));
}

MediaManifest RecordingArtifactWriter::manifest(const std::string& videoInitSegmentKey,
    const std::optional<std::string>& audioInitSegmentKey, const CapturedTracks& tracks, int width,
    int height, const RecordOptions& options, const std::string& sourceDescription,
    std::chrono::system_clock::time_point createdAt) const
{
    MediaManifest manifest;
    manifest.createdAt = iso8601Timestamp(createdAt);
    manifest.initSegmentKey = videoInitSegmentKey;
    manifest.preferredSegmentDuration = options.segmentSeconds;
    manifest.totalDuration = totalDuration(tracks.video);
    manifest.totalBytes = totalBytes(tracks.video) + totalBytes(tracks.audio);
    manifest.video.source = sourceDescription;
    manifest.video.codec = tracks.videoCodec.name;
    manifest.video.width = width;
    manifest.video.height = height;
    manifest.video.framesPerSecond = options.framesPerSecond;
    manifest.video.hasAudio = audioInitSegmentKey.has_value();
    manifest.segments = tracks.video;
    if (audioInitSegmentKey) {
        MediaManifest::Audio audio;
        audio.source = audioSource(options);
        audio.sampleRate = audioSampleRate;
        audio.channelCount = audioChannelCount;
        audio.initSegmentKey = *audioInitSegmentKey;
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
