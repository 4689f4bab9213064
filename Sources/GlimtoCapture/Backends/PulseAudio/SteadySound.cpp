#include "Backends/PulseAudio/SteadySound.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace glimto {

namespace {

// When nothing has come for so much longer than the newest frames last, sound may have been lost.
constexpr std::chrono::milliseconds stall(250);
// A time of hearing that is farther ahead than this is no truth, and not waited for.
constexpr std::chrono::seconds longestWait(3);
// What is kept while nothing tells when it was heard.
constexpr int longestUnplacedSeconds = 2;
constexpr std::size_t mostSpare = 8;

} // namespace

SteadySound::SteadySound(int sampleRate, int channelCount, Output output)
    : format_({.sampleRate = sampleRate,
        .channelCount = channelCount,
        .sampleType = AudioSampleType::float32,
        .layout = AudioLayout::interleaved})
    , output_(std::move(output))
    , clock_(sampleRate)
    , resampler_(channelCount)
{
}

void SteadySound::append(std::span<const float> samples, HostTime now)
{
    noticeStall(samples.size() / static_cast<std::size_t>(format_.channelCount), now);
    resampler_.append(samples);
    didAppend(now);
}

void SteadySound::appendSilence(std::size_t frameCount, HostTime now)
{
    noticeStall(frameCount, now);
    resampler_.appendSilence(frameCount);
    didAppend(now);
}

void SteadySound::observe(HostTime hostTime)
{
    clock_.observe(resampler_.appendedFrames(), hostTime);
    resample();
}

void SteadySound::noticeStall(std::size_t frameCount, HostTime now)
{
    if (lastArrival_ && now - *lastArrival_ > stall + duration(static_cast<std::int64_t>(frameCount)))
        clock_.reacquire();
    lastArrival_ = now;
}

void SteadySound::didAppend(HostTime now)
{
    clock_.didArrive(resampler_.appendedFrames(), now);
    resample();
    deliver(now);
}

HostClock::duration SteadySound::duration(std::int64_t frameCount) const
{
    return HostClock::duration(std::llround(static_cast<double>(frameCount) * 1e9 / format_.sampleRate));
}

HostTime SteadySound::runTime(std::int64_t frame) const
{
    return runStart_ + duration(frame);
}

void SteadySound::resample()
{
    const double end = resampler_.readableEnd();
    if (!clock_.isLocked()) {
        const double longest = static_cast<double>(longestUnplacedSeconds) * format_.sampleRate;
        nextPosition_ = std::max(nextPosition_, end - longest);
        return;
    }
    if (run_ != clock_.run()) {
        run_ = clock_.run();
        runStart_ = clock_.hostTime(nextPosition_);
        runFrames_ = 0;
    }
    // From the run's own count, so that rounding never adds up.
    const double first = clock_.frameAt(runTime(runFrames_));
    const double step = 1 / (1 + clock_.rateError());
    if (first >= end)
        return;
    const auto count = static_cast<std::int64_t>(std::ceil((end - first) / step));
    Heard heard{.hostTime = runTime(runFrames_), .end = runTime(runFrames_ + count), .samples = {}};
    if (!spare_.empty()) {
        heard.samples = std::move(spare_.back());
        spare_.pop_back();
    }
    resampler_.read(first, step, static_cast<std::size_t>(count), heard.samples);
    runFrames_ += count;
    nextPosition_ = first + step * static_cast<double>(count);
    clock_.didRead(nextPosition_);
    waiting_.push_back(std::move(heard));
}

HostTime SteadySound::nextDelivery() const
{
    return waiting_.empty() ? HostTime::max() : waiting_.front().end;
}

void SteadySound::deliver(HostTime now)
{
    while (!waiting_.empty()) {
        auto& heard = waiting_.front();
        if (heard.end > now && heard.end <= now + longestWait)
            return;
        const auto frames = heard.samples.size() / static_cast<std::size_t>(format_.channelCount);
        output_({.format = format_,
            .frameCount = frames,
            .presentationTime = MediaTime::at(heard.hostTime),
            .bytes = std::as_bytes(std::span(heard.samples)),
            .isReady = true});
        heard.samples.clear();
        if (spare_.size() < mostSpare)
            spare_.push_back(std::move(heard.samples));
        waiting_.pop_front();
    }
}

} // namespace glimto
