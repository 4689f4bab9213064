#include "Recording/VideoEncodingRules.h"

#include <algorithm>
#include <cmath>

namespace glimto {

namespace {

constexpr std::int64_t pixelRateWithOwnBitRate = 16'000'000;
constexpr std::int64_t lowestBitRate = 2'000'000;
constexpr std::int32_t segmentTimescale = 600;

// Longer than any recording; keeps every product below within 64 bits.
constexpr Seconds longestSegment{1e9};

} // namespace

VideoEncodingSettings videoEncodingSettings(
    int width, int height, int framesPerSecond, Seconds segmentDuration)
{
    const std::int64_t pixelRate = std::int64_t(width) * height * std::max(framesPerSecond, 1);
    const auto wholeSeconds
        = static_cast<std::int64_t>(std::ceil(std::min(segmentDuration, longestSegment).count()));
    return {
        .width = width,
        .height = height,
        .framesPerSecond = framesPerSecond,
        .averageBitRate = pixelRate >= pixelRateWithOwnBitRate ? pixelRate / 8 : lowestBitRate,
        .maxKeyFrameInterval = std::max<std::int64_t>(framesPerSecond * wholeSeconds, 1),
        .maxKeyFrameIntervalDuration = segmentDuration,
    };
}

MediaTime preferredSegmentInterval(Seconds segmentDuration)
{
    auto interval
        = MediaTime::fromSeconds(std::min(segmentDuration, longestSegment).count(), segmentTimescale);
    interval.value = std::max<std::int64_t>(interval.value, 1);
    return interval;
}

} // namespace glimto
