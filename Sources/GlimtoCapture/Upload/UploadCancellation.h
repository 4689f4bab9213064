#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>

namespace glimto {

// The wish to end an upload that is running, given once and for good. Safe to use from any thread.
class UploadCancellation {
public:
    // Calls a function when the wish is given, at once when it was given before, as long as this lives. It
    // runs on the thread of cancel(), may still run once after the end of this object, and must not block.
    class Listener {
    public:
        Listener(UploadCancellation& cancellation, std::function<void()> function);
        ~Listener();
        Listener(const Listener&) = delete;
        Listener& operator=(const Listener&) = delete;

    private:
        UploadCancellation& cancellation_;
        const int number_;
    };

    void cancel();
    bool isCancelled() const;

    // Waits. False as soon as the wish is given.
    bool waitFor(std::chrono::nanoseconds duration) const;

private:
    int addListener(std::function<void()> function);
    void removeListener(int number);

    // By hand: listeners come and go while others wait.
    mutable std::mutex mutex_;
    mutable std::condition_variable cancelled_;
    bool isCancelled_ = false;
    int lastNumber_ = 0;
    std::map<int, std::function<void()>> listeners_;
};

} // namespace glimto
