#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Artifacts/CapturedSegment.h"
#include "Support/JSONObject.h"

namespace glimto {

// What a finished take consists of: the content of "manifest.json". The JSON keys equal the field
// names; what is absent is left out.
struct MediaManifest {
    struct Video {
        std::string source; // the capture source's description
        std::string codec; // such as "h264"
        std::string container = "fmp4";
        int width = 0; // pixels
        int height = 0;
        int framesPerSecond = 0;
        bool hasAudio = false;
    };

    struct Audio {
        std::string source; // "system", "microphone" or "system+microphone"
        std::string codec = "aac";
        int sampleRate = 0; // Hz
        int channelCount = 0;
        std::string initSegmentKey = "segments/audio/init.mp4";
        std::string playlistKey = "segments/audio/playlist.m3u8";
        int segmentCount = 0;
    };

    int manifestVersion = 1;
    std::string createdAt; // ISO 8601, UTC, milliseconds
    std::string state = "complete";
    std::string initSegmentKey = "segments/video/init.mp4";
    std::string playlistKey = "segments/playlist.m3u8";
    double preferredSegmentDuration = 0; // seconds
    double totalDuration = 0; // seconds of video
    std::int64_t totalBytes = 0; // of all segments, video and audio
    Video video;
    std::optional<Audio> audio;
    std::vector<CapturedSegment> segments;
    std::optional<std::vector<CapturedSegment>> audioSegments;
    std::vector<std::string> notes;
};

GLIMTO_JSON_OBJECT(MediaManifest::Video, source, codec, container, width, height, framesPerSecond, hasAudio)
GLIMTO_JSON_OBJECT(
    MediaManifest::Audio, source, codec, sampleRate, channelCount, initSegmentKey, playlistKey, segmentCount)
GLIMTO_JSON_OBJECT(MediaManifest, manifestVersion, createdAt, state, initSegmentKey, playlistKey,
    preferredSegmentDuration, totalDuration, totalBytes, video, audio, segments, audioSegments, notes)

} // namespace glimto
