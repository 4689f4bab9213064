#include "Recording/RecordingSummary.h"

#include <filesystem>
#include <system_error>

#include "Recording/RecordingAudio.h"
#include "Support/Text.h"

namespace glimto {

std::vector<std::string> recordingStartLines(
    const RecordOptions& options, const CaptureFacts& facts, const OutputPlan& plan)
{
    const std::string end = options.recordUntilStopped
        ? std::string(" until stopped")
        : " for " + shortestDecimal(options.durationSeconds) + "s";
    std::vector<std::string> lines = {
        "Recording " + facts.description + end,
        "Output: " + plan.root.string(),
        "Video: H.264 fMP4, " + std::to_string(facts.width) + "x" + std::to_string(facts.height) + ", "
            + std::to_string(options.framesPerSecond) + " fps, ~" + shortestDecimal(options.segmentSeconds)
            + "s segments",
        recordingAudioLine(options),
    };
    if (options.stopFileURL)
        lines.push_back("Stop file: " + options.stopFileURL->string());
    return lines;
}

std::vector<std::string> recordingSummaryLines(
    const RecordOptions& options, const RecordingMetadataJSON& metadata)
{
    const std::string videoCount = "Captured " + std::to_string(metadata.videoSegmentCount);
    std::vector<std::string> lines = {
        options.includesAudio() ? videoCount + " video segment(s), "
                + std::to_string(metadata.audioSegmentCount) + " audio segment(s)"
                                : videoCount + " segment(s)",
        "Playlist: " + metadata.playlistPath,
        "Manifest: " + metadata.manifestPath,
    };
    if (metadata.thumbnailPath)
        lines.push_back("Thumbnail: " + *metadata.thumbnailPath);
    lines.push_back("Verify: scripts/verify-media-contract.sh " + metadata.path);
    return lines;
}

RecordingMetadataJSON recordingMetadata(const RecordOptions& options, const CaptureFacts& facts,
    const OutputPlan& plan, const CapturedTracks& tracks)
{
    RecordingMetadataJSON metadata;
    metadata.path = plan.root.string();
    metadata.playlistPath = plan.playlistURL.string();
    metadata.manifestPath = plan.manifestURL.string();
    std::error_code ignored;
    if (std::filesystem::exists(plan.thumbnailURL, ignored))
        metadata.thumbnailPath = plan.thumbnailURL.string();
    metadata.width = facts.width;
    metadata.height = facts.height;
    metadata.framesPerSecond = options.framesPerSecond;
    metadata.videoSegmentCount = static_cast<int>(tracks.video.size());
    metadata.audioSegmentCount = static_cast<int>(tracks.audio.size());
    metadata.includesAudioSegments = !tracks.audio.empty();
    metadata.requestedSystemAudio = options.captureSystemAudio;
    metadata.includesSystemAudio = options.captureSystemAudio && metadata.includesAudioSegments;
    metadata.sourceDescription = facts.description;
    return metadata;
}

} // namespace glimto
