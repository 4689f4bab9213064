#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <utility>

namespace glimto {

// Who may take a lock while holding another one: a lock only above all that its thread holds.
// Documentation/architecture.md has the table of who is where.
enum class LockLevel : std::uint8_t {
    state = 1, // the state of one object: whoever holds it calls nobody who takes another
    leaf, // queues, stop tokens and outputs: they call nobody, so anybody may call them
};

// Marks one lock as held by this thread. A build without NDEBUG ends the process when the order is broken;
// other builds do nothing here.
class HeldLock {
public:
#ifdef NDEBUG
    explicit HeldLock(LockLevel) { }
#else
    explicit HeldLock(LockLevel level);
    ~HeldLock();

private:
    std::uint8_t before_; // the highest level held before
#endif
public:
    HeldLock(const HeldLock&) = delete;
    HeldLock& operator=(const HeldLock&) = delete;
};

// State that several threads see: reachable only while its lock is held.
//
//     guarded.with([](State& state) { state.count += 1; });
//
// Who changes what others wait for says so, and who waits says for how long:
//
//     guarded.change([](State& state) { state.isReady = true; });
//     const bool isReady = guarded.waitFor(seconds(5), [](const State& state) { return state.isReady; });
//
// A function that runs under the lock must not block, call out of the object, or take a lock that is not
// above this one's level.
template <typename State, LockLevel level = LockLevel::state> class Guarded {
public:
    Guarded() = default;
    explicit Guarded(State state)
        : state_(std::move(state))
    {
    }

    template <typename Function> decltype(auto) with(Function&& function)
    {
        const Lock lock(mutex_);
        return std::forward<Function>(function)(state_);
    }

    template <typename Function> decltype(auto) with(Function&& function) const
    {
        const Lock lock(mutex_);
        return std::forward<Function>(function)(std::as_const(state_));
    }

    // As with(), and wakes everybody who waits. That is done under the lock, so that a waiter may destroy
    // the object as soon as it is through.
    template <typename Function> decltype(auto) change(Function&& function)
    {
        const Lock lock(mutex_);
        const Notification notification{changed_};
        return std::forward<Function>(function)(state_);
    }

    // Waits until `condition` holds, for at most `limit`; false when it did not.
    template <typename Condition> bool waitFor(std::chrono::nanoseconds limit, Condition&& condition)
    {
        return waitFor(limit, std::forward<Condition>(condition), [](State&) {});
    }

    // The same, and runs `function` under the same lock when the condition holds.
    template <typename Condition, typename Function>
    bool waitFor(std::chrono::nanoseconds limit, Condition&& condition, Function&& function)
    {
        Lock lock(mutex_);
        const auto holds = [&] { return condition(std::as_const(state_)); };
        if (!changed_.wait_for(lock.mutexLock, std::min(limit, longestWait), holds))
            return false;
        std::forward<Function>(function)(state_);
        return true;
    }

    // Waits for as long as it takes and runs `function` under the same lock. Only where somebody is bound to
    // end the wait; who that is stands beside the call.
    template <typename Condition, typename Function>
    decltype(auto) waitUntil(Condition&& condition, Function&& function)
    {
        Lock lock(mutex_);
        changed_.wait(lock.mutexLock, [&] { return condition(std::as_const(state_)); });
        return std::forward<Function>(function)(state_);
    }

private:
    struct Lock {
        explicit Lock(std::mutex& mutex)
            : heldLock(level)
            , mutexLock(mutex)
        {
        }
        HeldLock heldLock;
        std::unique_lock<std::mutex> mutexLock;
    };

    struct Notification {
        std::condition_variable& changed;
        ~Notification() { changed.notify_all(); }
    };

    // Longer than any process lives: a time point further away than the clock counts must not wrap.
    static constexpr std::chrono::nanoseconds longestWait = std::chrono::hours(24 * 365);

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    State state_{};
};

} // namespace glimto
