#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string_view>

#include "Platform/AudioMixerSource.h"

namespace glimto {

// What a recording is doing, in this order; `uploading` only with upload.
enum class RecordingPhase { starting, recording, stopping, uploading, ended };

// The phase's word in output: its enumerator.
std::string_view recordingPhaseName(RecordingPhase phase);

// How far a recording or an upload had come at one moment.
struct RecordingSnapshot {
    struct UploadQueue {
        std::int64_t sentObjects = 0;
        std::int64_t waitingObjects = 0; // found and not sent yet
        std::int64_t waitingBytes = 0; // of these

        friend bool operator==(const UploadQueue&, const UploadQueue&) = default;
    };

    RecordingPhase phase = RecordingPhase::starting;
    std::chrono::nanoseconds elapsed{0}; // since the screen is being recorded, until that ended
    std::int64_t frames = 0; // handed to the encoder
    std::int64_t dropped = 0; // frames and pieces of sound that the encoder had no room for
    std::int64_t bytes = 0; // of media on the disk

    // The loudest sample of each source since the snapshot before, in decibels of full scale: 0 at most, and
    // silence at least. Absent for what is not recorded.
    std::optional<double> systemLevel = std::nullopt;
    std::optional<double> microphoneLevel = std::nullopt;

    std::optional<UploadQueue> upload = std::nullopt; // absent without upload
};

// What the parts of a recording count while it runs, for whoever shows it. Any thread may note anything at
// any time; nothing here ever waits.
class RecordingFigures {
public:
    static constexpr double silentDecibels = -120;

    using Clock = std::chrono::steady_clock;

    // Phases come in their order; one may be left out.
    void enter(RecordingPhase phase, Clock::time_point now = Clock::now());

    void noteFrame() { frames_.fetch_add(1, std::memory_order_relaxed); }
    void noteDropped() { dropped_.fetch_add(1, std::memory_order_relaxed); }
    void noteBytes(std::int64_t count) { bytes_.fetch_add(count, std::memory_order_relaxed); }

    // What costs something to know, as the levels, is noted only when somebody looks, which is said before
    // the recording begins.
    void watch() { isWatched_ = true; }
    bool isWatched() const { return isWatched_; }

    // `peak` is the largest magnitude among some samples, 1 at full scale. From the first one on, which may
    // be 0, the source has a level.
    void notePeak(AudioMixerSource source, float peak);

    // From the first one on there is an upload.
    void noteUploadWaiting(std::int64_t objects, std::int64_t bytes);
    void noteUploadSent();

    // Begins new levels: one reader at a time.
    RecordingSnapshot snapshot(Clock::time_point now = Clock::now());

private:
    static constexpr std::int64_t never = -1;

    std::optional<double> takeLevel(AudioMixerSource source);

    std::atomic<RecordingPhase> phase_{RecordingPhase::starting};
    std::atomic<std::int64_t> began_{never}; // nanoseconds of the clock
    std::atomic<std::int64_t> ended_{never};
    std::atomic<std::int64_t> frames_{0};
    std::atomic<std::int64_t> dropped_{0};
    std::atomic<std::int64_t> bytes_{0};
    std::atomic<bool> isWatched_{false};
    std::array<std::atomic<float>, 2> peaks_{-1.0F, -1.0F}; // by source; below 0 is no level
    std::atomic<bool> hasUpload_{false};
    std::atomic<std::int64_t> sentObjects_{0};
    std::atomic<std::int64_t> waitingObjects_{0};
    std::atomic<std::int64_t> waitingBytes_{0};
};

} // namespace glimto
