#pragma once

#include <mutex>
#include <utility>

namespace glimto {

// State that several threads see: reachable only while its lock is held.
//
//     guarded.with([](State& state) { state.count += 1; });
//
// The function must not block, call out of the object, or take another Guarded's lock.
template <typename State> class Guarded {
public:
    Guarded() = default;
    explicit Guarded(State state)
        : state_(std::move(state))
    {
    }

    template <typename Function> decltype(auto) with(Function&& function)
    {
        const std::lock_guard lock(mutex_);
        return std::forward<Function>(function)(state_);
    }

    template <typename Function> decltype(auto) with(Function&& function) const
    {
        const std::lock_guard lock(mutex_);
        return std::forward<Function>(function)(std::as_const(state_));
    }

private:
    mutable std::mutex mutex_;
    State state_;
};

} // namespace glimto
