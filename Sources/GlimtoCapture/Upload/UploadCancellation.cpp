#include "Upload/UploadCancellation.h"

#include <algorithm>
#include <utility>

#include "Support/Guarded.h"
#include "Upload/TaskCancellationError.h"

namespace glimto {

namespace {

using Clock = std::chrono::steady_clock;

// How soon a stop request is noticed.
constexpr std::chrono::milliseconds round(200);

struct Wish {
    bool isGiven = false;
    bool isStopRequest = false;
};

} // namespace

struct UploadCancellation::State {
    const std::function<bool()> isStopRequested;
    Guarded<Wish> wish{};

    // Without the lock, as the answer may take any lock of its own.
    void askForStop()
    {
        if (isStopRequested && isStopRequested())
            wish.change([](Wish& state) { state = {.isGiven = true, .isStopRequest = true}; });
    }
};

UploadCancellation::UploadCancellation(std::function<bool()> isStopRequested)
    : state_(new State{std::move(isStopRequested)})
{
}

void UploadCancellation::cancel()
{
    state_->wish.change([](Wish& wish) { wish.isGiven = true; });
}

bool UploadCancellation::isCancelled() const
{
    state_->askForStop();
    return state_->wish.with([](const Wish& wish) { return wish.isGiven; });
}

void UploadCancellation::throwIfCancelled() const
{
    if (!isCancelled())
        return;
    if (state_->wish.with([](const Wish& wish) { return wish.isStopRequest; }))
        throw UploadInterruptedError();
    throw TaskCancellationError();
}

bool UploadCancellation::waitFor(std::chrono::nanoseconds duration) const
{
    // Longer than any process lives: a time point further away than the clock counts must not wrap.
    constexpr std::chrono::nanoseconds longest = std::chrono::hours(24 * 365);
    const auto end = Clock::now() + std::min(duration, longest);
    while (!isCancelled() && Clock::now() < end)
        state_->wish.waitFor(std::min<std::chrono::nanoseconds>(end - Clock::now(), round),
            [](const Wish& wish) { return wish.isGiven; });
    return !isCancelled();
}

void UploadCancellation::waitUntil(const std::function<bool()>& isReady) const
{
    bool isDone = false;
    while (!isDone) {
        throwIfCancelled();
        state_->wish.waitFor(
            round, [&](const Wish& wish) { return wish.isGiven || isReady(); },
            [&](const Wish& wish) { isDone = !wish.isGiven; });
    }
}

bool UploadCancellation::waitInAnyCase(
    const std::function<bool()>& isReady, std::chrono::nanoseconds longest) const
{
    return state_->wish.waitFor(longest, [&](const Wish&) { return isReady(); });
}

void UploadCancellation::change(const std::function<void()>& function) const
{
    state_->wish.change([&](Wish&) { function(); });
}

void UploadCancellation::with(const std::function<void()>& function) const
{
    state_->wish.with([&](Wish&) { function(); });
}

} // namespace glimto
