#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include <pthread.h>

#include "Support/Guarded.h"

namespace glimto {

// Gives the calling thread a name for debuggers: the last 15 characters of `label`, as the system allows.
void nameThisThread(const std::string& label);

// A thread with a name and a stack of a given size: what a SerialQueue runs on, and what runs a loop of its
// own. The function must not throw. The destructor joins, unless the thread was let go of.
class NamedThread {
public:
    // Far more than anything here uses, and small enough that a limit on a process's memory is not soon
    // reached by threads that do nothing.
    static constexpr std::size_t usualStackBytes = 2U << 20U;

    // `label` names the thread in debuggers, which get its last 15 characters, as the system allows. Throws
    // PlatformError (POSIX) "Could not start the thread <label>: ..." when the thread cannot be made.
    NamedThread(const std::string& label, std::function<void()> function);
    NamedThread(const std::string& label, std::size_t stackBytes, std::function<void()> function);
    ~NamedThread();
    NamedThread(const NamedThread&) = delete;
    NamedThread& operator=(const NamedThread&) = delete;

    // Waits for the end of the function. Any number of times.
    void join();

    // Waits for at most `limit`. False when the function has not ended; the thread is abandoned then.
    bool joinWithin(std::chrono::nanoseconds limit);

    // Lets go of the thread, which goes on: everything it uses must be owned by its function. The process
    // counts as one with abandoned work then.
    void abandon();

private:
    struct Start;
    using HasEnded = Guarded<bool, LockLevel::leaf>;

    std::shared_ptr<HasEnded> hasEnded_ = std::make_shared<HasEnded>(false); // the thread's as well
    pthread_t thread_ = {};
    bool isOver_ = false; // joined or let go of
};

} // namespace glimto
