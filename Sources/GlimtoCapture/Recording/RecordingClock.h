#pragma once

#include <chrono>

#include "Platform/MediaTime.h"
#include "Platform/StopRequests.h"

namespace glimto {

// What a waiting recording needs to know of time, so that tests need not wait.
class RecordingClock {
public:
    virtual ~RecordingClock() = default;

    // Time since a fixed moment; never runs backwards.
    virtual Seconds now() = 0;

    // Or shorter, when there may be a reason to end the recording.
    virtual void sleepFor(Seconds duration) = 0;
};

// The monotonic clock of the system.
class SystemRecordingClock final : public RecordingClock {
public:
    // The requests outlive it.
    explicit SystemRecordingClock(StopRequests& stopRequests)
        : stopRequests_(stopRequests)
    {
    }

    Seconds now() override { return std::chrono::steady_clock::now().time_since_epoch(); }
    void sleepFor(Seconds duration) override
    {
        stopRequests_.wait(std::chrono::ceil<std::chrono::nanoseconds>(duration));
    }

private:
    StopRequests& stopRequests_;
};

} // namespace glimto
