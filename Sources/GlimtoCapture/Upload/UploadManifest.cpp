#include "Upload/UploadManifest.h"

#include <cstdint>
#include <vector>

#include "Support/JSONFields.h"
#include "Upload/ObjectKeys.h"

namespace glimto {

namespace {

MediaManifest::Video videoFrom(const JSONFields& fields)
{
    MediaManifest::Video video;
    video.source = fields.text("source");
    video.codec = fields.text("codec");
    video.container = fields.text("container");
    video.width = fields.integer<int>("width");
    video.height = fields.integer<int>("height");
    video.framesPerSecond = fields.integer<int>("framesPerSecond");
    video.hasAudio = fields.flag("hasAudio");
    return video;
}

MediaManifest::Audio audioFrom(const JSONFields& fields)
{
    MediaManifest::Audio audio;
    audio.source = fields.text("source");
    audio.codec = fields.text("codec");
    audio.sampleRate = fields.integer<int>("sampleRate");
    audio.channelCount = fields.integer<int>("channelCount");
    audio.initSegmentKey = fields.text("initSegmentKey");
    audio.playlistKey = fields.text("playlistKey");
    audio.segmentCount = fields.integer<int>("segmentCount");
    return audio;
}

std::vector<CapturedSegment> segmentsFrom(const std::vector<JSONFields>& list)
{
    std::vector<CapturedSegment> segments;
    segments.reserve(list.size());
    for (const auto& fields : list)
        segments.push_back({fields.integer<int>("index"), fields.text("key"), fields.number("duration"),
            fields.integer<std::int64_t>("bytes"), fields.optionalNumber("earliestPresentationTime")});
    return segments;
}

} // namespace

MediaManifest decodeMediaManifest(std::string_view text)
{
    constexpr const char* source = "manifest.json";
    const auto json = parseJSON(text, source);
    const JSONFields fields(json, source);
    MediaManifest manifest;
    manifest.manifestVersion = fields.integer<int>("manifestVersion");
    manifest.createdAt = fields.text("createdAt");
    manifest.state = fields.text("state");
    manifest.initSegmentKey = fields.text("initSegmentKey");
    manifest.playlistKey = fields.text("playlistKey");
    manifest.preferredSegmentDuration = fields.number("preferredSegmentDuration");
    manifest.totalDuration = fields.number("totalDuration");
    manifest.totalBytes = fields.integer<std::int64_t>("totalBytes");
    manifest.video = videoFrom(fields.object("video"));
    if (fields.has("audio"))
        manifest.audio = audioFrom(fields.object("audio"));
    manifest.segments = segmentsFrom(fields.objects("segments"));
    if (fields.has("audioSegments"))
        manifest.audioSegments = segmentsFrom(fields.objects("audioSegments"));
    manifest.notes = fields.texts("notes");
    return manifest;
}

MediaManifest rewritingObjectKeys(MediaManifest manifest, std::string_view objectPrefix)
{
    const auto rewrite = [objectPrefix](std::string& key) {
        key = objectKeyOf(objectPrefix, normalizeLocalArtifactKey(key));
    };
    rewrite(manifest.initSegmentKey);
    rewrite(manifest.playlistKey);
    if (manifest.audio) {
        rewrite(manifest.audio->initSegmentKey);
        rewrite(manifest.audio->playlistKey);
    }
    for (auto& segment : manifest.segments)
        rewrite(segment.relativeKey);
    if (manifest.audioSegments) {
        for (auto& segment : *manifest.audioSegments)
            rewrite(segment.relativeKey);
    }
    return manifest;
}

} // namespace glimto
