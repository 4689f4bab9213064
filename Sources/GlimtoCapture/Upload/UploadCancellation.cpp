#include "Upload/UploadCancellation.h"

#include <algorithm>
#include <utility>

namespace glimto {

UploadCancellation::Listener::Listener(UploadCancellation& cancellation, std::function<void()> function)
    : cancellation_(cancellation)
    , number_(cancellation.addListener(function))
{
    if (cancellation_.isCancelled())
        function();
}

UploadCancellation::Listener::~Listener()
{
    cancellation_.removeListener(number_);
}

void UploadCancellation::cancel()
{
    std::map<int, std::function<void()>> listeners;
    {
        const std::lock_guard lock(mutex_);
        isCancelled_ = true;
        listeners = listeners_;
    }
    cancelled_.notify_all();
    for (const auto& [number, function] : listeners)
        function();
}

bool UploadCancellation::isCancelled() const
{
    const std::lock_guard lock(mutex_);
    return isCancelled_;
}

bool UploadCancellation::waitFor(std::chrono::nanoseconds duration) const
{
    std::unique_lock lock(mutex_);
    // Longer than any process lives: a time point further away than the clock counts must not wrap.
    constexpr std::chrono::nanoseconds longest = std::chrono::hours(24 * 365);
    return !cancelled_.wait_for(lock, std::min(duration, longest), [this] { return isCancelled_; });
}

int UploadCancellation::addListener(std::function<void()> function)
{
    const std::lock_guard lock(mutex_);
    listeners_[++lastNumber_] = std::move(function);
    return lastNumber_;
}

void UploadCancellation::removeListener(int number)
{
    const std::lock_guard lock(mutex_);
    listeners_.erase(number);
}

} // namespace glimto
