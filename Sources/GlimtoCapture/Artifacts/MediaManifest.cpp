#include "Artifacts/MediaManifest.h"

#include "Support/Text.h"

namespace glimto {

namespace {

nlohmann::json videoJSON(const MediaManifest::Video& video)
{
    return {
        {"source", validUTF8(video.source)},
        {"codec", video.codec},
        {"container", video.container},
        {"width", video.width},
        {"height", video.height},
        {"framesPerSecond", video.framesPerSecond},
        {"hasAudio", video.hasAudio},
    };
}

nlohmann::json audioJSON(const MediaManifest::Audio& audio)
{
    return {
        {"source", audio.source},
        {"codec", audio.codec},
        {"sampleRate", audio.sampleRate},
        {"channelCount", audio.channelCount},
        {"initSegmentKey", audio.initSegmentKey},
        {"playlistKey", audio.playlistKey},
        {"segmentCount", audio.segmentCount},
    };
}

nlohmann::json segmentsJSON(const std::vector<MediaManifest::Segment>& segments)
{
    auto list = nlohmann::json::array();
    for (const auto& segment : segments) {
        nlohmann::json object = {
            {"index", segment.index},
            {"key", segment.key},
            {"duration", segment.duration},
            {"bytes", segment.bytes},
        };
        if (segment.earliestPresentationTime)
            object["earliestPresentationTime"] = *segment.earliestPresentationTime;
        list.push_back(std::move(object));
    }
    return list;
}

} // namespace

std::vector<MediaManifest::Segment> manifestSegments(const std::vector<CapturedSegment>& segments)
{
    std::vector<MediaManifest::Segment> result;
    result.reserve(segments.size());
    for (const auto& segment : segments)
        result.push_back({segment.index, segment.relativeKey, segment.duration, segment.bytes,
            segment.earliestPresentationTime});
    return result;
}

nlohmann::json toJSON(const MediaManifest& manifest)
{
    nlohmann::json object = {
        {"manifestVersion", manifest.manifestVersion},
        {"createdAt", manifest.createdAt},
        {"state", manifest.state},
        {"initSegmentKey", manifest.initSegmentKey},
        {"playlistKey", manifest.playlistKey},
        {"preferredSegmentDuration", manifest.preferredSegmentDuration},
        {"totalDuration", manifest.totalDuration},
        {"totalBytes", manifest.totalBytes},
        {"video", videoJSON(manifest.video)},
        {"segments", segmentsJSON(manifest.segments)},
        {"notes", manifest.notes},
    };
    if (manifest.audio)
        object["audio"] = audioJSON(*manifest.audio);
    if (manifest.audioSegments)
        object["audioSegments"] = segmentsJSON(*manifest.audioSegments);
    return object;
}

} // namespace glimto
