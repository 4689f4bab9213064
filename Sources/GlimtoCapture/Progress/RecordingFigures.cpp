#include "Progress/RecordingFigures.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace glimto {

namespace {

std::int64_t nanoseconds(RecordingFigures::Clock::time_point time)
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(time.time_since_epoch()).count();
}

} // namespace

std::string_view recordingPhaseName(RecordingPhase phase)
{
    // In the order of the enumerators.
    constexpr std::array<std::string_view, 5> names
        = {"starting", "recording", "stopping", "uploading", "ended"};
    return names.at(static_cast<std::size_t>(phase));
}

void RecordingFigures::enter(RecordingPhase phase, Clock::time_point now)
{
    if (phase == RecordingPhase::recording) {
        began_ = nanoseconds(now);
    } else {
        std::int64_t expected = never;
        ended_.compare_exchange_strong(expected, nanoseconds(now));
    }
    phase_ = phase;
}

void RecordingFigures::notePeak(AudioMixerSource source, float peak)
{
    auto& known = peaks_[static_cast<std::size_t>(source)];
    float before = known;
    while (before < peak && !known.compare_exchange_weak(before, peak)) { }
}

void RecordingFigures::noteUploadWaiting(std::int64_t objects, std::int64_t bytes)
{
    waitingObjects_ = objects;
    waitingBytes_ = bytes;
    hasUpload_ = true;
}

void RecordingFigures::noteUploadSent()
{
    sentObjects_.fetch_add(1, std::memory_order_relaxed);
}

std::optional<double> RecordingFigures::takeLevel(AudioMixerSource source)
{
    auto& known = peaks_[static_cast<std::size_t>(source)];
    if (known < 0)
        return std::nullopt;
    const double peak = known.exchange(0);
    return std::clamp(20 * std::log10(peak), silentDecibels, 0.0);
}

RecordingSnapshot RecordingFigures::snapshot(Clock::time_point now)
{
    RecordingSnapshot result;
    result.phase = phase_;
    if (const std::int64_t began = began_; began != never) {
        const std::int64_t ended = ended_;
        const std::int64_t until = ended == never ? nanoseconds(now) : ended;
        result.elapsed = std::chrono::nanoseconds(std::max<std::int64_t>(until - began, 0));
    }
    result.frames = frames_;
    result.dropped = dropped_;
    result.bytes = bytes_;
    result.systemLevel = takeLevel(AudioMixerSource::system);
    result.microphoneLevel = takeLevel(AudioMixerSource::microphone);
    if (hasUpload_)
        result.upload
            = {.sentObjects = sentObjects_, .waitingObjects = waitingObjects_, .waitingBytes = waitingBytes_};
    return result;
}

} // namespace glimto
