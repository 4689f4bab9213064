#pragma once

#include <functional>
#include <memory>
#include <string>

namespace glimto {

// Runs tasks one at a time, in the order in which they were posted, on a thread of its own.
//
// The destructor runs what is still posted, then joins the thread; it must not run on the queue.
class SerialQueue {
public:
    // `label` names the queue in debuggers; the thread gets its last 15 characters, as the system allows.
    explicit SerialQueue(std::string label);
    ~SerialQueue();
    SerialQueue(const SerialQueue&) = delete;
    SerialQueue& operator=(const SerialQueue&) = delete;

    const std::string& label() const;

    // Runs `task` later on the queue. A task must not throw: one that does ends the process.
    void post(std::function<void()> task);

    // Runs `task` on the queue and returns when it is done, passing on what it throws. Runs it
    // directly when the caller is already on the queue. Throws std::logic_error when it was abandoned.
    void sync(const std::function<void()>& task);

    bool isCurrent() const;

    // Lets go of the thread: a task that hangs no longer keeps the destructor waiting, tasks not yet
    // begun are dropped, and everything the running task uses must be owned by the task itself.
    void abandon();

    // Whether any queue of this process was abandoned while a task was running; the process must
    // then end without running static destructors.
    static bool abandonedAny();

private:
    struct Core;
    std::shared_ptr<Core> core_; // shared by this object and its thread
};

} // namespace glimto
