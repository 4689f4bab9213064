#pragma once

#include <chrono>
#include <thread>

namespace glimto {

// What a waiting recording needs to know of time, so that tests need not wait.
class RecordingClock {
public:
    using Seconds = std::chrono::duration<double>;

    virtual ~RecordingClock() = default;

    // Time since a fixed moment; never runs backwards.
    virtual Seconds now() = 0;
    virtual void sleepFor(Seconds duration) = 0;
};

// The monotonic clock of the system.
class SystemRecordingClock final : public RecordingClock {
public:
    Seconds now() override { return std::chrono::steady_clock::now().time_since_epoch(); }
    void sleepFor(Seconds duration) override { std::this_thread::sleep_for(duration); }
};

} // namespace glimto
