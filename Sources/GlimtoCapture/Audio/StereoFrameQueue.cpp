#include "Audio/StereoFrameQueue.h"

#include <cassert>

namespace glimto {

StereoFrameQueue::StereoFrameQueue(std::size_t capacityFrames)
{
    samples_.reserve(2 * capacityFrames);
}

void StereoFrameQueue::extendTo(std::size_t frames)
{
    if (frames <= frameCount())
        return;
    const std::size_t inUse = samples_.size() - firstSample_;
    const bool fits = firstSample_ + 2 * frames <= samples_.capacity();
    // Moving to the front only when no more is kept than was taken away since the last time costs less than
    // one move a sample.
    if (!fits && inUse <= firstSample_) {
        samples_.erase(samples_.begin(), samples_.begin() + static_cast<std::ptrdiff_t>(firstSample_));
        firstSample_ = 0;
    }
    samples_.resize(firstSample_ + 2 * frames);
}

std::span<float> StereoFrameQueue::frames(std::size_t first, std::size_t count)
{
    assert(first + count <= frameCount());
    return std::span(samples_).subspan(firstSample_ + 2 * first, 2 * count);
}

void StereoFrameQueue::removeFirst(std::size_t count)
{
    assert(count <= frameCount());
    firstSample_ += 2 * count;
    if (firstSample_ == samples_.size())
        clear();
}

void StereoFrameQueue::clear()
{
    samples_.clear();
    firstSample_ = 0;
}

} // namespace glimto
