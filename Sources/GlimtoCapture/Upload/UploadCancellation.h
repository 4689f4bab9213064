#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace glimto {

// The wish to end an upload that is running, given once and for good: by cancel(), or by a question that is
// answered with yes. Copies share the wish. Safe to use from any thread, but for the question.
class UploadCancellation {
public:
    // `isStopRequested` is asked by the thread that waits, at least five times a second, and by
    // isCancelled(). All of those must then be one thread.
    explicit UploadCancellation(std::function<bool()> isStopRequested = nullptr);

    void cancel();
    bool isCancelled() const;

    // Throws UploadInterruptedError when the question was answered with yes, and TaskCancellationError
    // after cancel().
    void throwIfCancelled() const;

    // Waits. False as soon as the wish is given.
    bool waitFor(std::chrono::nanoseconds duration) const;

    // Waits until `isReady`. Throws as throwIfCancelled(). `isReady` runs under the lock of change().
    void waitUntil(const std::function<bool()>& isReady) const;

    // The same for at most that long, whether the wish is given or not. False when the time has passed.
    bool waitInAnyCase(const std::function<bool()>& isReady, std::chrono::nanoseconds longest) const;

    // Runs `function`, which makes somebody ready, and wakes who waits.
    void change(const std::function<void()>& function) const;

    // The same without waking anybody, who then notices it with the next question at the latest.
    void with(const std::function<void()>& function) const;

private:
    struct State;
    std::shared_ptr<State> state_;
};

} // namespace glimto
