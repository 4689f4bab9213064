#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include <pthread.h>

namespace glimto {

// Gives the calling thread a name for debuggers: the last 15 characters of `label`, as the system allows.
void nameThisThread(const std::string& label);

// A thread with a name and a stack of a given size, for what a SerialQueue cannot do because it runs a
// loop of its own. The function must not throw. The destructor joins, unless the thread was let go of.
class NamedThread {
public:
    // Throws PlatformError (POSIX) when the thread cannot be made.
    NamedThread(const std::string& label, std::size_t stackBytes, std::function<void()> function);
    ~NamedThread();
    NamedThread(const NamedThread&) = delete;
    NamedThread& operator=(const NamedThread&) = delete;

    // Waits for the end of the function. Any number of times.
    void join();

    // Lets go of the thread, which goes on: everything it uses must be owned by its function.
    void detach();

    // Whether any thread of this process was let go of; the process must then end without running static
    // destructors.
    static bool detachedAny();

private:
    pthread_t thread_ = {};
    bool isOver_ = false; // joined or let go of
};

} // namespace glimto
