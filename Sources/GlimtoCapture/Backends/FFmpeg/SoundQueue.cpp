#include "Backends/FFmpeg/SoundQueue.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace glimto {

SoundQueue::SoundQueue(int channelCount, std::size_t capacity, std::int64_t tolerance)
    : channelCount_(static_cast<std::size_t>(channelCount))
    , tolerance_(tolerance)
    , ring_(capacity * channelCount_)
    , capacity_(capacity)
{
}

void SoundQueue::append(std::int64_t start, std::span<const std::byte> samples)
{
    const std::size_t bytesPerFrame = channelCount_ * sizeof(float);
    auto frameCount = static_cast<std::int64_t>(samples.size() / bytesPerFrame);
    if (std::abs(start - end_) >= tolerance_) {
        fillWithSilence(start);
        const std::int64_t overlap = std::min(end_ - start, frameCount);
        samples = samples.subspan(static_cast<std::size_t>(overlap) * bytesPerFrame);
        frameCount -= overlap;
    }
    if (frameCount == 0)
        return;
    store(samples, static_cast<std::size_t>(frameCount));
    extend(Kind::sound, frameCount);
}

void SoundQueue::fillWithSilence(std::int64_t end)
{
    if (end > end_)
        extend(Kind::silence, end - end_);
}

std::size_t SoundQueue::take(std::span<float> samples)
{
    std::size_t taken = 0;
    while (!runs_.empty() && samples.size() > taken * channelCount_) {
        taken += takeFrom(runs_.front(), samples.subspan(taken * channelCount_));
        if (runs_.front().frameCount == 0)
            runs_.pop_front();
    }
    return taken;
}

void SoundQueue::extend(Kind kind, std::int64_t frameCount)
{
    if (runs_.empty() || runs_.back().kind != kind)
        runs_.push_back({kind, 0});
    runs_.back().frameCount += frameCount;
    end_ += frameCount;
}

void SoundQueue::store(std::span<const std::byte> samples, std::size_t frameCount)
{
    makeRoomFor(frameCount);
    const std::size_t to = (first_ + soundFrames_) % capacity_;
    const std::size_t untilEnd = std::min(frameCount, capacity_ - to);
    const std::size_t bytes = untilEnd * channelCount_ * sizeof(float);
    std::memcpy(ring_.data() + to * channelCount_, samples.data(), bytes);
    std::memcpy(
        ring_.data(), samples.data() + bytes, (frameCount - untilEnd) * channelCount_ * sizeof(float));
    soundFrames_ += frameCount;
}

void SoundQueue::makeRoomFor(std::size_t frameCount)
{
    if (soundFrames_ + frameCount <= capacity_)
        return;
    const auto first = static_cast<std::ptrdiff_t>(first_ * channelCount_);
    std::rotate(ring_.begin(), ring_.begin() + first, ring_.end());
    first_ = 0;
    capacity_ = soundFrames_ + frameCount;
    ring_.resize(capacity_ * channelCount_);
}

std::size_t SoundQueue::takeFrom(Run& run, std::span<float> samples)
{
    const std::size_t count
        = std::min(samples.size() / channelCount_, static_cast<std::size_t>(run.frameCount));
    run.frameCount -= static_cast<std::int64_t>(count);
    if (run.kind == Kind::silence) {
        std::fill_n(samples.begin(), count * channelCount_, 0.0F);
        return count;
    }
    const std::size_t untilEnd = std::min(count, capacity_ - first_);
    const float* from = ring_.data() + first_ * channelCount_;
    std::copy_n(from, untilEnd * channelCount_, samples.begin());
    std::copy_n(ring_.data(), (count - untilEnd) * channelCount_,
        samples.begin() + static_cast<std::ptrdiff_t>(untilEnd * channelCount_));
    first_ = (first_ + count) % capacity_;
    soundFrames_ -= count;
    return count;
}

} // namespace glimto
