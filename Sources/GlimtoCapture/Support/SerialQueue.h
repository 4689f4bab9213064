#pragma once

#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>

#include "Support/FirstOutcome.h"

namespace glimto {

// Runs tasks one at a time, in the order in which they came: posted ones on a thread of its own, and those
// that somebody waits for on the thread that waits, which saves the way there and back.
//
// The destructor runs what is still posted, then joins the thread; it must not run on the queue.
class SerialQueue {
public:
    enum class Thread {
        own,
        none, // the queue takes sync() only
    };

    // `label` names the queue in debuggers; the thread gets its last 15 characters, as the system allows.
    // Throws PlatformError (POSIX) when the thread cannot be started.
    explicit SerialQueue(std::string label, Thread thread = Thread::own);
    ~SerialQueue();
    SerialQueue(const SerialQueue&) = delete;
    SerialQueue& operator=(const SerialQueue&) = delete;

    const std::string& label() const;

    // Runs `task` later on the queue. A task must not throw: one that does ends the process. Dropped when the
    // queue was abandoned.
    void post(std::function<void()> task);

    // Runs `task` here once everything before it is done, and returns what it returns or throws what it
    // throws. A task that is on the queue already runs it at once. Throws std::logic_error when the queue
    // was abandoned.
    template <typename Task> decltype(auto) sync(Task&& task)
    {
        const Turn turn(core_);
        return std::forward<Task>(task)();
    }

    // Runs `operation` on the queue's thread and returns what it returns, or throws what it throws. `wait`
    // gets a function that waits for that, for a time, and tells whether it has happened; it returns null
    // then, or why the operation is given up, which is thrown, after the queue was abandoned if the operation
    // still runs.
    template <typename Operation, typename Wait>
    std::invoke_result_t<Operation&> runUntil(Operation operation, Wait&& wait)
    {
        using Result = std::invoke_result_t<Operation&>;
        using Value = std::conditional_t<std::is_void_v<Result>, std::monostate, Result>;
        const auto outcome = std::make_shared<FirstOutcome<Value>>(); // this call's and the task's
        post([outcome, operation = std::make_shared<Operation>(std::move(operation))] {
            outcome->settleWith(*operation);
        });
        if (const std::exception_ptr reason
            = wait([&](std::chrono::nanoseconds limit) { return outcome->waitFor(limit); })) {
            if (!outcome->waitFor({}))
                abandon();
            std::rethrow_exception(reason);
        }
        if constexpr (std::is_void_v<Result>)
            outcome->firstResult();
        else
            return outcome->firstResult();
    }

    // The same for at most `limit`; then throws `timeout`.
    template <typename Operation>
    std::invoke_result_t<Operation&> runWithin(
        std::chrono::nanoseconds limit, Operation operation, const std::exception_ptr& timeout)
    {
        return runUntil(std::move(operation),
            [&](const auto& isSettledWithin) { return isSettledWithin(limit) ? nullptr : timeout; });
    }

    // Whether the caller runs in a task of the queue.
    bool isCurrent() const;

    // Lets go of the thread: a task that hangs no longer keeps the destructor waiting, tasks not yet
    // begun are dropped, and everything the running task uses must be owned by the task itself. When one is
    // running, the process counts as one with abandoned work.
    void abandon();

private:
    struct Core;

    // The queue is the caller's while this lives.
    class Turn {
    public:
        explicit Turn(std::shared_ptr<Core> core);
        ~Turn();
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;

    private:
        const std::shared_ptr<Core> core_;
        const bool isNested_;
    };

    std::shared_ptr<Core> core_; // shared by this object, its thread and those who wait for their turn
};

} // namespace glimto
