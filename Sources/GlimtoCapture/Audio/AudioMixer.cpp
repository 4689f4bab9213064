#include "Audio/AudioMixer.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

#include "Support/Errors.h"

namespace glimto {

namespace {

AudioFormat mixedFormat(int sampleRate)
{
    const AudioFormat format{sampleRate, 2, AudioSampleType::float32, AudioLayout::interleaved};
    if (!format.isUsable())
        throw CLIError("Could not create the mixed audio format ("
            + std::to_string(static_cast<int>(format.status())) + ").");
    return format;
}

float sampleAt(const std::byte* samples, std::size_t index)
{
    float sample = 0;
    std::memcpy(&sample, samples + index * sizeof(float), sizeof(float));
    return sample;
}

// Adds the frames from `first` on to `mix`, which is as long as what is left of them.
void addFrames(std::span<float> mix, const ReadChannels& channels, std::size_t first)
{
    const std::byte* left = channels.left + first * sizeof(float);
    const std::byte* right = channels.right + first * sizeof(float);
    for (std::size_t frame = 0; frame < mix.size() / 2; ++frame) {
        mix[2 * frame] += sampleAt(left, frame);
        mix[2 * frame + 1] += sampleAt(right, frame);
    }
}

float peakOf(const ReadChannels& channels)
{
    float peak = 0;
    for (std::size_t frame = 0; frame < channels.frameCount; ++frame)
        peak = std::max(
            {peak, std::abs(sampleAt(channels.left, frame)), std::abs(sampleAt(channels.right, frame))});
    return peak;
}

// Encoders refuse what is no number; it is as good as silence.
void clampSamples(std::span<float> samples)
{
    for (float& sample : samples) {
        const float number = sample == sample ? sample : 0.0F;
        sample = std::min(std::max(number, -1.0F), 1.0F);
    }
}

} // namespace

AudioMixer::AudioMixer(std::span<const AudioMixerSource> sources, int sampleRate, Output output,
    AudioConverterFactory& converters, LineOutput& standardOutput, PeakMeter onPeak)
    : sampleRate_(sampleRate)
    , latencyFrames_(static_cast<std::int64_t>(sampleRate * 0.2))
    , continuityToleranceFrames_(static_cast<std::int64_t>(sampleRate * 0.01))
    , discontinuityFrames_(sampleRate)
    , outputFormat_(mixedFormat(sampleRate))
    , output_(std::move(output))
    , onPeak_(std::move(onPeak))
    , standardOutput_(standardOutput)
    , timeline_(makeTimeline(sources, converters))
{
}

AudioMixer::Timeline AudioMixer::makeTimeline(
    std::span<const AudioMixerSource> sources, AudioConverterFactory& converters) const
{
    // Twice the frames that wait while a source lags.
    Timeline timeline{
        {}, StereoFrameQueue(static_cast<std::size_t>(2 * latencyFrames_)), {}, {}, false, {}, false};
    for (const AudioMixerSource source : sources)
        timeline.tracks.try_emplace(source, source, sampleRate_, converters);
    return timeline;
}

void AudioMixer::append(const AudioBuffer& buffer, AudioMixerSource source, MediaTime hostTime)
{
    std::optional<float> peak;
    const auto warning = timeline_.with([&](Timeline& timeline) -> std::optional<std::string> {
        const auto found = timeline.tracks.find(source);
        if (timeline.isFinished || !hostTime.isValid() || !buffer.isReady || found == timeline.tracks.end())
            return std::nullopt;
        const auto channels = found->second.read(buffer);
        if (onPeak_ && channels)
            peak = peakOf(*channels);
        if (channels && channels->frameCount > 0)
            place(timeline, found->second, *channels, hostTime.converted(sampleRate_).value);
        return found->second.takeWarning();
    });
    if (warning)
        standardOutput_.writeLine(*warning);
    if (peak)
        onPeak_(source, *peak);
    handOut();
}

void AudioMixer::place(
    Timeline& timeline, AudioSourceTrack& track, const ReadChannels& channels, std::int64_t start) const
{
    const auto count = static_cast<std::int64_t>(channels.frameCount);
    std::int64_t skipped = 0;
    if (track.nextFrame) {
        const std::int64_t expected = *track.nextFrame;
        if (std::abs(start - expected) <= continuityToleranceFrames_) {
            start = expected;
        } else if (start < expected) {
            skipped = std::min(count, expected - start);
            start = expected;
        }
    }
    if (skipped >= count)
        return;
    const std::int64_t end = start + (count - skipped);
    track.nextFrame = end;

    if (timeline.latestEndFrame && *timeline.latestEndFrame + discontinuityFrames_ < start) {
        emit(timeline, *timeline.latestEndFrame);
        timeline.pending.clear();
        timeline.pendingStartFrame = start;
    }
    if (!timeline.pendingStartFrame)
        timeline.pendingStartFrame = start;

    // What lies before the pending frames has been emitted without this source.
    const std::int64_t pendingStart = *timeline.pendingStartFrame;
    if (const std::int64_t mixStart = std::max(start, pendingStart); mixStart < end) {
        const auto offset = static_cast<std::size_t>(mixStart - pendingStart);
        const auto mixed = static_cast<std::size_t>(end - mixStart);
        timeline.pending.extendTo(offset + mixed);
        addFrames(timeline.pending.frames(offset, mixed), channels, channels.frameCount - mixed);
    }
    timeline.latestEndFrame = std::max(timeline.latestEndFrame.value_or(end), end);
    emit(timeline, emissionHorizon(timeline));
}

// The frame up to which nothing is waited for any more. Something was accepted before.
std::int64_t AudioMixer::emissionHorizon(const Timeline& timeline) const
{
    const std::int64_t base = *timeline.latestEndFrame - latencyFrames_;
    std::int64_t slowest = *timeline.latestEndFrame;
    for (const auto& [source, track] : timeline.tracks) {
        if (!track.nextFrame)
            return base;
        slowest = std::min(slowest, *track.nextFrame);
    }
    return std::max(base, slowest);
}

void AudioMixer::emit(Timeline& timeline, std::int64_t end)
{
    if (!timeline.pendingStartFrame || end <= *timeline.pendingStartFrame)
        return;
    const auto count = static_cast<std::size_t>(end - *timeline.pendingStartFrame);
    // Pending frames reach to the end of the latest buffer, and nothing later is ever emitted.
    assert(count <= timeline.pending.frameCount());
    const std::span<const float> samples = timeline.pending.frames(0, count);
    timeline.outbox.stretches.push_back({*timeline.pendingStartFrame, count});
    timeline.outbox.samples.insert(timeline.outbox.samples.end(), samples.begin(), samples.end());
    timeline.pending.removeFirst(count);
    timeline.pendingStartFrame = end;
}

// Goes on until the outbox is empty, so that whoever finds this at work need not wait.
void AudioMixer::handOut()
{
    bool isMine = false;
    const auto takeTurn = [&] {
        return timeline_.change([&](Timeline& timeline) {
            if (timeline.isHandingOut && !isMine)
                return false;
            timeline.isHandingOut = !timeline.outbox.stretches.empty();
            std::swap(timeline.outbox, handedOut_);
            return timeline.isHandingOut;
        });
    };
    while ((isMine = takeTurn()))
        handOut(handedOut_);
}

void AudioMixer::handOut(Outbox& outbox) const
{
    clampSamples(outbox.samples);
    std::span<const float> samples = outbox.samples;
    for (const Stretch& stretch : outbox.stretches) {
        for (std::size_t offset = 0; offset < stretch.frameCount; offset += mostFramesPerOutput) {
            const std::size_t frameCount = std::min(mostFramesPerOutput, stretch.frameCount - offset);
            output_(
                {outputFormat_, frameCount, {stretch.start + static_cast<std::int64_t>(offset), sampleRate_},
                    std::as_bytes(samples.first(2 * frameCount)), true});
            samples = samples.subspan(2 * frameCount);
        }
    }
    outbox.stretches.clear();
    outbox.samples.clear();
}

void AudioMixer::finish()
{
    timeline_.with([&](Timeline& timeline) {
        if (timeline.isFinished)
            return;
        if (timeline.pendingStartFrame) {
            const auto pendingCount = static_cast<std::int64_t>(timeline.pending.frameCount());
            emit(timeline, *timeline.pendingStartFrame + pendingCount);
        }
        timeline.isFinished = true;
    });
    handOut();
    // Ended by the thread that hands out, whose output is the encoder's input and does not block.
    timeline_.waitUntil([](const Timeline& timeline) { return !timeline.isHandingOut; }, [](Timeline&) {});
}

} // namespace glimto
