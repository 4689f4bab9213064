#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/VideoEncoder.h"
#include "Support/JSONObject.h"

namespace glimto {

// "segment_" and the index with at least three digits and ".m4s": "segment_007.m4s", "segment_1000.m4s".
inline std::string segmentFileName(int index)
{
    const std::string digits = std::to_string(index);
    return "segment_" + std::string(digits.size() < 3 ? 3 - digits.size() : 0, '0') + digits + ".m4s";
}

// A segment's path below the take's root; `track` is "video" or "audio".
inline std::string segmentKey(std::string_view track, int index)
{
    return "segments/" + std::string(track) + "/" + segmentFileName(index);
}

// One media segment that is whole on the disk.
struct CapturedSegment {
    int index = 0; // from 0 within its track
    std::string relativeKey; // path below the take's root, such as "segments/video/segment_000.m4s"
    double duration = 0; // seconds
    std::int64_t bytes = 0; // size of the file
    std::optional<double> earliestPresentationTime; // seconds; absent when the encoder told none

    friend bool operator==(const CapturedSegment&, const CapturedSegment&) = default;
};

// As it stands in the manifest, where its path is the "key".
inline nlohmann::json toJSON(const CapturedSegment& segment)
{
    nlohmann::json object = {{"index", segment.index}, {"key", segment.relativeKey},
        {"duration", segment.duration}, {"bytes", segment.bytes}};
    setMember(object, "earliestPresentationTime", segment.earliestPresentationTime);
    return object;
}

// The media segments of a take, each track in the order in which they were written.
struct CapturedTracks {
    std::vector<CapturedSegment> video;
    std::vector<CapturedSegment> audio;
    VideoCodec videoCodec;

    friend bool operator==(const CapturedTracks&, const CapturedTracks&) = default;
};

} // namespace glimto
