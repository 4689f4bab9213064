#include "Backends/PulseAudio/SteadySound.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace glimto {

namespace {

constexpr double nanosecondsPerSecond = 1e9;
// When nothing has come for so much longer than the newest frames last, sound may have been lost.
constexpr std::int64_t stall = 250'000'000;
// A time of hearing that is farther ahead than this is no truth, and not waited for.
constexpr std::int64_t longestWait = 3'000'000'000;
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

void SteadySound::append(std::span<const float> samples, std::int64_t now)
{
    noticeStall(samples.size() / static_cast<std::size_t>(format_.channelCount), now);
    resampler_.append(samples);
    didAppend(now);
}

void SteadySound::appendSilence(std::size_t frameCount, std::int64_t now)
{
    noticeStall(frameCount, now);
    resampler_.appendSilence(frameCount);
    didAppend(now);
}

void SteadySound::observe(std::int64_t hostTime)
{
    clock_.observe(resampler_.appendedFrames(), hostTime);
    resample();
}

void SteadySound::noticeStall(std::size_t frameCount, std::int64_t now)
{
    const double duration = static_cast<double>(frameCount) * nanosecondsPerSecond / format_.sampleRate;
    if (lastArrival_ && now - *lastArrival_ > stall + std::llround(duration))
        clock_.reacquire();
    lastArrival_ = now;
}

void SteadySound::didAppend(std::int64_t now)
{
    clock_.didArrive(resampler_.appendedFrames(), now);
    resample();
    deliver(now);
}

std::int64_t SteadySound::runTime(std::int64_t frame) const
{
    return runStart_ + std::llround(static_cast<double>(frame) * nanosecondsPerSecond / format_.sampleRate);
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
        runStart_ = std::llround(clock_.hostTime(nextPosition_));
        runFrames_ = 0;
    }
    // From the run's own count, so that rounding never adds up.
    const double first = clock_.frameAt(static_cast<double>(runTime(runFrames_)));
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

std::int64_t SteadySound::nextDelivery() const
{
    return waiting_.empty() ? std::numeric_limits<std::int64_t>::max() : waiting_.front().end;
}

void SteadySound::deliver(std::int64_t now)
{
    while (!waiting_.empty()) {
        auto& heard = waiting_.front();
        if (heard.end > now && heard.end <= now + longestWait)
            return;
        const auto frames = heard.samples.size() / static_cast<std::size_t>(format_.channelCount);
        output_({.format = format_,
            .frameCount = frames,
            .presentationTime = MediaTime::fromNanoseconds(heard.hostTime),
            .bytes = std::as_bytes(std::span(heard.samples)),
            .isReady = true});
        heard.samples.clear();
        if (spare_.size() < mostSpare)
            spare_.push_back(std::move(heard.samples));
        waiting_.pop_front();
    }
}

} // namespace glimto
