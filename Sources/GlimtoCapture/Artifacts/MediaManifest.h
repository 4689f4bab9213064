#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "Artifacts/CapturedSegment.h"

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

    struct Segment {
        int index = 0;
        std::string key; // path below the take's root
        double duration = 0; // seconds
        std::int64_t bytes = 0;
        std::optional<double> earliestPresentationTime; // seconds
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
    std::vector<Segment> segments;
    std::optional<std::vector<Segment>> audioSegments;
    std::vector<std::string> notes;
};

// The manifest's form of segments, in the same order.
std::vector<MediaManifest::Segment> manifestSegments(const std::vector<CapturedSegment>& segments);

// Strings are made valid UTF-8.
nlohmann::json toJSON(const MediaManifest& manifest);

} // namespace glimto
