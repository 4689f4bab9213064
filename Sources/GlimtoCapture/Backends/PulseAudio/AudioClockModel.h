#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "Support/HostClock.h"

namespace glimto {

// Finds out when each frame of a live stream was heard.
//
// It learns from two things that both jitter: the sound server's reports of when a frame was heard, and the
// arrival of the frames. Its answer is a line of time without jumps, whose slope follows the device's own
// clock: time per frame changes slowly and by little, so that sound that is resampled by it shows no change
// of pitch. Only when the stream itself was torn (it paused, or sound was lost) does the line jump, and a
// new run begins.
//
// After a pause the server's reports may be wrong for seconds; those that contradict the arrival of the
// frames are not believed unless they stay.
//
// Frames are counted from the stream's first one. Not safe for several threads; reads no clock itself.
class AudioClockModel {
public:
    // `sampleRate` in Hz is what the device claims.
    explicit AudioClockModel(int sampleRate);

    // The server reports that `frame` was heard at `hostTime`. Reports come in order of frames; two to a
    // second are good once the clock is locked, many more before.
    void observe(std::int64_t frame, HostTime hostTime);

    // All frames before `endFrame` have arrived at `now`.
    void didArrive(std::int64_t endFrame, HostTime now);

    // The stream has paused, or sound may have been lost: what follows is placed anew. It goes on without a
    // jump when it turns out that nothing was lost.
    void reacquire();

    // Whether hostTime() has an answer for the newest frames. Comes with the first few reports that agree;
    // after reacquire() at the latest 150 ms after the first arrival, from that alone.
    bool isLocked() const { return isLocked_; }

    // Whether the last report contradicts the line: more of them soon tell what is right.
    bool isInDoubt() const { return isInDoubt_; }

    // Counts the jumps of the line of time.
    int run() const { return run_; }

    // On the present line of time, which holds for frames that have not been read. Must have been locked
    // once.
    HostTime hostTime(double frame) const;
    double frameAt(HostTime time) const;

    // Frames before `frame` have got their times: what is learned from now on bends the line behind them.
    void didRead(double frame);

    // How much longer or shorter than claimed the device's frames last at present: 0.0002 for a clock that
    // is 200 ppm slow.
    double rateError() const { return slope_ - 1; }

private:
    // Host times that are computed with are nanoseconds.
    struct Report {
        std::int64_t frame = 0;
        double hostTime = 0;
    };
    // The smallest delay of arrivals after the line in a stretch of time, and in the one before.
    struct ArrivalDelay {
        std::optional<double> current;
        std::optional<double> previous;
        HostTime began = {};
    };

    double line(double frame) const { return anchorTime_ + nominal(frame - anchorFrame_) * slope_; }
    double nominal(double frames) const { return frames * nanosecondsPerFrame_; }
    void lockOnReports();
    enum class LockedOn { reports, arrivals };
    void lock(double offset, LockedOn evidence);
    void follow(const Report& report);
    bool jumpIfReportsStay();
    void steer(double error, double elapsed);
    void noteArrivalDelay(std::int64_t endFrame, HostTime now);
    std::optional<double> usualArrivalDelay() const;
    bool isPlausible(const Report& report) const;

    const double nanosecondsPerFrame_;

    // The line: anchorTime_ at anchorFrame_, and on from there with slope_.
    bool isLocked_ = false;
    bool wasLocked_ = false;
    bool isInDoubt_ = false;
    int run_ = 0;
    double anchorFrame_ = 0; // everything before it has been read
    double anchorTime_ = 0;
    double slope_ = 1;
    double drift_ = 0; // the part of the slope that lasts

    // While it is locked: how far the last reports were from the line.
    std::vector<double> errors_;
    std::optional<double> lastReportTime_;
    double followedFor_ = 0; // seconds

    // While it is not.
    std::vector<Report> candidates_;
    std::optional<double> arrivalOffset_; // the earliest arrival, less the nominal time of its frame
    std::optional<HostTime> firstArrival_;

    ArrivalDelay arrivalDelay_;
};

} // namespace glimto
