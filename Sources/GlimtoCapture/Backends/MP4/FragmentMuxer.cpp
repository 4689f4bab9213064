#include "Backends/MP4/FragmentMuxer.h"

#include <limits>
#include <string>

#include "Backends/MP4/InitializationSegment.h"
#include "Platform/ErrorDomains.h"
#include "Support/Errors.h"

namespace glimto {

namespace {

std::uint32_t field(std::int64_t value)
{
    if (value < 0 || value > std::numeric_limits<std::uint32_t>::max())
        throw PlatformError(
            errorDomain::mp4, 0, "MP4 has no room for a number of a sample: " + std::to_string(value));
    return static_cast<std::uint32_t>(value);
}

} // namespace

FragmentMuxer::FragmentMuxer(const TrackDescription& track)
    : output_(initializationSegment(track))
{
}

void FragmentMuxer::addSample(std::span<const std::byte> data, const SampleFacts& facts)
{
    field(static_cast<std::int64_t>(payload_.size() + data.size()));
    const FragmentSample sample = {.duration = field(facts.duration),
        .size = static_cast<std::uint32_t>(data.size()),
        .delay = field(facts.time - facts.decodeTime),
        .isKeyframe = facts.isKeyframe};
    if (samples_.empty())
        decodeTime_ = facts.decodeTime;
    payload_.insert(payload_.end(), data.begin(), data.end());
    samples_.push_back(sample);
}

void FragmentMuxer::endFragment()
{
    if (samples_.empty())
        return;
    fragmentCount_ += 1;
    writeFragmentHead(output_, fragmentCount_, decodeTime_, samples_);
    output_.insert(output_.end(), payload_.begin(), payload_.end());
    samples_.clear();
    payload_.clear();
}

} // namespace glimto
