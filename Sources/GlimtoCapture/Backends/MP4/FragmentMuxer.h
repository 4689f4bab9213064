#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "Backends/MP4/MovieFragment.h"
#include "Backends/MP4/TrackDescription.h"

namespace glimto {

// One track of fragmented MP4 (ISO/IEC 14496-12) in memory. Throws PlatformError for what MP4 cannot hold.
class FragmentMuxer {
public:
    // The initialization segment lies ready in takeOutput() afterwards.
    explicit FragmentMuxer(const TrackDescription& track);
    FragmentMuxer(const FragmentMuxer&) = delete;
    FragmentMuxer& operator=(const FragmentMuxer&) = delete;

    // What a sample is stored with; times in ticks.
    struct SampleFacts {
        std::int64_t decodeTime = 0; // rises by exactly the duration of the sample before
        std::int64_t duration = 0; // until the next one is decoded
        std::int64_t time = 0; // when it is shown, not before it is decoded
        bool isKeyframe = false;
    };

    // Adds a sample to the current fragment.
    void addSample(std::span<const std::byte> data, const SampleFacts& facts);

    // Ends the current fragment, if it has a sample: "moof" and "mdat" come out.
    void endFragment();

    // What has been written since the last call; the caller's to keep.
    std::vector<std::byte> takeOutput() { return std::exchange(output_, {}); }

    // Payload bytes in the fragment that is not ended yet.
    std::size_t pendingBytes() const { return payload_.size(); }

private:
    std::vector<std::byte> output_;
    std::uint32_t fragmentCount_ = 0;

    // The current fragment.
    std::int64_t decodeTime_ = 0; // of its first sample
    std::vector<FragmentSample> samples_;
    std::vector<std::byte> payload_;
};

} // namespace glimto
