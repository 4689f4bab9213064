#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "Backends/PulseAudio/AudioClockModel.h"
#include "Backends/PulseAudio/FractionalResampler.h"
#include "Platform/AudioBuffer.h"
#include "Support/HostClock.h"

namespace glimto {

// Turns what a sound server delivers into buffers that join exactly and lie right on the host clock.
//
// Sound is resampled a little all the time, so that frame k of a run is at k / sampleRate seconds after its
// first one, whatever the device's clock does. A new run begins only where the stream was torn.
//
// A sound server hands out what is to be played before it is heard. Such sound waits here until then, so
// that no source is ahead of the host clock, where it would make others late.
//
// Not safe for several threads.
class SteadySound {
public:
    using Output = std::function<void(const AudioBuffer& buffer)>;

    // Buffers are interleaved 32-bit float with this rate and channel count.
    SteadySound(int sampleRate, int channelCount, Output output);

    // Interleaved frames that arrived at `now`. Nothing comes out before the first few reports.
    void append(std::span<const float> samples, HostTime now);

    // Frames that the server has lost.
    void appendSilence(std::size_t frameCount, HostTime now);

    // The server reports that the frame which will be appended next was heard at `hostTime`.
    void observe(HostTime hostTime);

    // The device has paused.
    void didPause() { clock_.reacquire(); }

    // Hands out what has been heard by `now`. append() does so, too.
    void deliver(HostTime now);

    // When deliver() will have something to do; far in the future when nothing waits.
    HostTime nextDelivery() const;

    // Whether more reports are wanted quickly.
    bool isWaitingForReports() const { return !clock_.isLocked() || clock_.isInDoubt(); }

    std::int64_t appendedFrames() const { return resampler_.appendedFrames(); }
    double rateError() const { return clock_.rateError(); }

private:
    struct Heard {
        HostTime hostTime = {};
        HostTime end = {};
        std::vector<float> samples;
    };

    void noticeStall(std::size_t frameCount, HostTime now);
    void didAppend(HostTime now);
    void resample();
    HostClock::duration duration(std::int64_t frameCount) const;
    HostTime runTime(std::int64_t frame) const;

    const AudioFormat format_;
    const Output output_;
    AudioClockModel clock_;
    FractionalResampler resampler_;

    std::optional<int> run_; // of the clock
    HostTime runStart_;
    std::int64_t runFrames_ = 0; // that came out of it
    double nextPosition_ = 0; // where the next run begins, in the input
    std::optional<HostTime> lastArrival_;
    std::deque<Heard> waiting_;
    std::vector<std::vector<float>> spare_;
};

} // namespace glimto
