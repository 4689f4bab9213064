#pragma once

#include <chrono>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>

#include "Support/SerialQueue.h"

namespace glimto {

// "Stopping capture timed out after <seconds, truncated>s at stage: <stage>", as a CLIError.
std::exception_ptr stopTimeoutError(double seconds, const std::string& stage);

// Two runners, one finish: the first outcome settles the race and never changes. Any thread.
template <typename T> class StopTimeoutRace {
public:
    using Outcome = std::variant<T, std::exception_ptr>;

    // Does nothing when the race is settled already.
    void settle(Outcome outcome)
    {
        const std::lock_guard lock(mutex_);
        if (result_)
            return;
        result_ = std::move(outcome);
        settled_.notify_all();
    }

    // Waits for an outcome for at most `seconds`; false when there was none.
    bool waitUntilSettled(double seconds)
    {
        std::unique_lock lock(mutex_);
        return settled_.wait_for(
            lock, std::chrono::duration<double>(seconds), [this] { return result_.has_value(); });
    }

    // The first outcome: returns its value, which only one caller may take, or throws its error. Waits
    // until there is one, so somebody must be bound to settle the race.
    T firstResult()
    {
        std::unique_lock lock(mutex_);
        settled_.wait(lock, [this] { return result_.has_value(); });
        if (const auto* error = std::get_if<std::exception_ptr>(&*result_))
            std::rethrow_exception(*error);
        return std::move(std::get<T>(*result_));
    }

private:
    std::mutex mutex_;
    std::condition_variable settled_;
    std::optional<Outcome> result_;
};

// Runs `operation` on a thread of its own and returns what it returns, or throws what it throws.
//
// After `seconds` without an outcome it throws stopTimeoutError(seconds, stage) and lets go of the
// operation, which may then still run for as long as the process lives: it must own everything that
// it touches.
template <typename Operation>
std::invoke_result_t<Operation&> withStopTimeout(
    double seconds, const std::string& stage, Operation operation)
{
    using Result = std::invoke_result_t<Operation&>;
    using Value = std::conditional_t<std::is_void_v<Result>, std::monostate, Result>;
    using Outcome = typename StopTimeoutRace<Value>::Outcome;

    // Owned by this call and by the operation's thread.
    const auto race = std::make_shared<StopTimeoutRace<Value>>();
    SerialQueue queue("glimto.capture.stop");
    queue.post([race, operation = std::move(operation)]() mutable {
        try {
            if constexpr (std::is_void_v<Result>) {
                operation();
                race->settle(Outcome(std::in_place_index<0>));
            } else {
                race->settle(Outcome(std::in_place_index<0>, operation()));
            }
        } catch (...) {
            race->settle(Outcome(std::in_place_index<1>, std::current_exception()));
        }
    });
    if (!race->waitUntilSettled(seconds)) {
        race->settle(Outcome(std::in_place_index<1>, stopTimeoutError(seconds, stage)));
        queue.abandon();
    }
    if constexpr (std::is_void_v<Result>)
        race->firstResult();
    else
        return race->firstResult();
}

} // namespace glimto
