#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <vector>

#include "Platform/AudioMixerSource.h"
#include "Audio/AudioSourceTrack.h"
#include "Audio/StereoFrameQueue.h"
#include "Platform/AudioBuffer.h"
#include "Platform/AudioConverter.h"
#include "Support/Guarded.h"
#include "Support/LineOutput.h"

namespace glimto {

// Merges live sources of sound into one stereo track on the host clock.
//
// Every source is converted to 32-bit float at the mixer's rate and placed on a common timeline: frame k is
// at k / sampleRate seconds of the host clock. The sources are summed, and finished stretches are handed on
// in order of time. Where no source has sound, the track is silent; but a buffer that starts more than one
// second after everything before it begins a new run, and the time between the runs is left out.
//
// Output waits for the slowest source, at most 0.2 seconds behind the newest frame. What comes later than
// that is dropped. A buffer that starts within 10 milliseconds of where its source left off is taken as the
// continuation; one that overlaps by more loses the overlap, one that starts later leaves a gap.
//
// Example, at 48000 Hz with two sources: the system has delivered frames up to 20000 and the microphone
// nothing yet, so output has come to frame 10400. A microphone buffer that covers frames 9000 to 15000 loses
// its first 1400 frames, and output goes on to frame 15000.
//
// Any thread may append and finish. What a buffer made complete is handed out after the lock was let go of,
// by one thread at a time and in order: a thread that finds another one at it leaves its own stretch to that
// one.
class AudioMixer {
public:
    // Receives the track, interleaved stereo in 32-bit float between -1 and 1, at most 1024 frames at a
    // time. The samples are valid during the call. Runs on the thread of one of the sources, or of finish(),
    // without any lock of the mixer; must not throw, and must not call the mixer.
    using Output = std::function<void(const AudioBuffer& buffer)>;

    // Hears the largest magnitude of each buffer that could be read, 1 at full scale. Runs on the source's
    // thread, without any lock of the mixer; must not throw or block.
    using PeakMeter = std::function<void(AudioMixerSource source, float peak)>;

    static constexpr std::size_t mostFramesPerOutput = 1024;

    // `sampleRate` in Hz is the timescale of all output times, too. Buffers of a source that is not in
    // `sources` are ignored. Warnings go to `standardOutput`, at most one a source. The references outlive
    // the mixer. Throws CLIError when there is no audio format with this rate.
    AudioMixer(std::span<const AudioMixerSource> sources, int sampleRate, Output output,
        AudioConverterFactory& converters, LineOutput& standardOutput, PeakMeter onPeak = nullptr);

    // Takes one buffer of a source, whose first frame was heard at `hostTime` on the host clock; the
    // buffer's own presentation time is not looked at. Buffers of one source come in order. Ignored once the
    // mixer is finished, and when the time is invalid or the buffer is not ready. A buffer that cannot be
    // read or converted is dropped with a warning. Does not throw, and allocates nothing while buffers keep
    // their format and do not grow.
    void append(const AudioBuffer& buffer, AudioMixerSource source, MediaTime hostTime);

    // Hands on everything that is left, after waiting for an output that is running. Nothing is accepted and
    // no output comes any more once this returns.
    void finish();

private:
    // Finished frames in a row.
    struct Stretch {
        std::int64_t start = 0;
        std::size_t frameCount = 0;
    };

    // Finished and not handed out yet.
    struct Outbox {
        std::vector<Stretch> stretches;
        std::vector<float> samples; // of one stretch after the other
    };

    struct Timeline {
        std::map<AudioMixerSource, AudioSourceTrack> tracks;
        StereoFrameQueue pending; // not yet emitted
        std::optional<std::int64_t> pendingStartFrame; // where the first pending frame is
        std::optional<std::int64_t> latestEndFrame; // the largest end of any accepted buffer
        bool isFinished = false;
        Outbox outbox;
        bool isHandingOut = false; // some thread takes from the outbox until it is empty
    };

    Timeline makeTimeline(std::span<const AudioMixerSource> sources, AudioConverterFactory& converters) const;
    void place(
        Timeline& timeline, AudioSourceTrack& track, const ReadChannels& channels, std::int64_t start) const;
    std::int64_t emissionHorizon(const Timeline& timeline) const;
    static void emit(Timeline& timeline, std::int64_t end);
    void handOut();
    void handOut(Outbox& outbox) const;

    // Frames, rounded down.
    const int sampleRate_;
    const std::int64_t latencyFrames_;
    const std::int64_t continuityToleranceFrames_;
    const std::int64_t discontinuityFrames_;

    const AudioFormat outputFormat_;
    const Output output_;
    const PeakMeter onPeak_; // may be null: nothing is measured then
    LineOutput& standardOutput_;
    Guarded<Timeline> timeline_;
    Outbox handedOut_; // of the thread that hands out
};

} // namespace glimto
