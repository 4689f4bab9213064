#pragma once

#include <chrono>

#include "Upload/UploadCancellation.h"

namespace glimto {

// What an upload needs to know of time, so that tests need not wait.
class UploadClock {
public:
    virtual ~UploadClock() = default;

    // Time since a fixed moment; never runs backwards.
    virtual std::chrono::nanoseconds now() = 0;

    // Waits. False as soon as the wish to end is given.
    virtual bool sleep(std::chrono::nanoseconds duration, const UploadCancellation& cancellation) = 0;
};

// The monotonic clock of the system.
class SystemUploadClock final : public UploadClock {
public:
    std::chrono::nanoseconds now() override { return std::chrono::steady_clock::now().time_since_epoch(); }
    bool sleep(std::chrono::nanoseconds duration, const UploadCancellation& cancellation) override
    {
        return cancellation.waitFor(duration);
    }
};

} // namespace glimto
