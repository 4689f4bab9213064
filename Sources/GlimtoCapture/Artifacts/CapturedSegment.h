#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Platform/VideoEncoder.h"

namespace glimto {

// One media segment that is whole on the disk.
struct CapturedSegment {
    int index = 0; // from 0 within its track
    std::string relativeKey; // path below the take's root, such as "segments/video/segment_000.m4s"
    double duration = 0; // seconds
    std::int64_t bytes = 0; // size of the file
    std::optional<double> earliestPresentationTime; // seconds; absent when the encoder told none

    friend bool operator==(const CapturedSegment&, const CapturedSegment&) = default;
};

// The media segments of a take, each track in the order in which they were written.
struct CapturedTracks {
    std::vector<CapturedSegment> video;
    std::vector<CapturedSegment> audio;
    VideoCodec videoCodec;

    friend bool operator==(const CapturedTracks&, const CapturedTracks&) = default;
};

} // namespace glimto
