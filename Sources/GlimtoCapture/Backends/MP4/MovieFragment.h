#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace glimto {

// One sample of a fragment; times in ticks.
struct FragmentSample {
    std::uint32_t duration = 0; // until the next one is decoded
    std::uint32_t size = 0; // bytes
    std::uint32_t delay = 0; // from when it is decoded until it is shown
    bool isKeyframe = false;
};

// Appends a movie fragment and the head of the media data that follows it (ISO/IEC 14496-12 sections 8.8.4
// and 8.1.1), which are the samples one after another, less than 4 GiB.
//
// `sequenceNumber` counts the track's fragments from 1. The first sample is decoded at `decodeTime`. There is
// at least one sample.
void writeFragmentHead(std::vector<std::byte>& output, std::uint32_t sequenceNumber, std::int64_t decodeTime,
    std::span<const FragmentSample> samples);

} // namespace glimto
