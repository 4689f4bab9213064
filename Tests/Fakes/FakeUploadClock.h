#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <vector>

#include "Upload/UploadClock.h"

namespace glimto {

// A clock whose sleepers sleep until the test lets them go on.
class FakeUploadClock final : public UploadClock {
public:
    std::chrono::nanoseconds now() override
    {
        const std::lock_guard lock(mutex_);
        return now_ += step;
    }

    bool sleep(std::chrono::nanoseconds duration, const UploadCancellation& cancellation) override
    {
        std::unique_lock lock(mutex_);
        naps_.push_back(duration);
        changed_.notify_all();
        const std::size_t number = naps_.size();
        // Cancellation does not wake this clock; it is looked for.
        while (wokenNaps_ < number && !cancellation.isCancelled())
            changed_.wait_for(lock, std::chrono::milliseconds(1));
        return !cancellation.isCancelled();
    }

    // Lets one more sleep end.
    void wake()
    {
        const std::lock_guard lock(mutex_);
        ++wokenNaps_;
        changed_.notify_all();
    }

    // Waits until somebody has fallen asleep for the `number`th time. False when that takes too long.
    bool waitForNap(std::size_t number) const
    {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(30), [&] { return naps_.size() >= number; });
    }

    std::vector<std::chrono::nanoseconds> naps() const
    {
        const std::lock_guard lock(mutex_);
        return naps_;
    }

    std::chrono::nanoseconds step{0}; // by which the clock goes on whenever it is read

private:
    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    std::chrono::nanoseconds now_{0};
    std::vector<std::chrono::nanoseconds> naps_;
    std::size_t wokenNaps_ = 0;
};

} // namespace glimto
