#pragma once

#include <chrono>
#include <exception>
#include <optional>
#include <utility>
#include <variant>

#include "Support/Guarded.h"

namespace glimto {

// What comes of something that several threads may settle: the first value or error, which never changes. Any
// thread.
template <typename T> class FirstOutcome {
public:
    using Outcome = std::variant<T, std::exception_ptr>;

    // Does nothing when there is an outcome already.
    void settle(Outcome outcome)
    {
        result_.change([&](std::optional<Outcome>& result) {
            if (!result)
                result = std::move(outcome);
        });
    }

    // Settles it with what `operation` returns or throws.
    template <typename Operation> void settleWith(Operation& operation)
    {
        try {
            if constexpr (std::is_void_v<decltype(operation())>) {
                operation();
                settle(Outcome(std::in_place_index<0>));
            } else {
                settle(Outcome(std::in_place_index<0>, operation()));
            }
        } catch (...) {
            settle(Outcome(std::in_place_index<1>, std::current_exception()));
        }
    }

    // Waits for an outcome for at most `limit`; false when there was none. Time during which the process was
    // stopped (SIGSTOP) does not count, as nobody could have settled it then.
    bool waitFor(std::chrono::nanoseconds limit)
    {
        constexpr std::chrono::nanoseconds slice = std::chrono::milliseconds(100);
        for (; limit > slice; limit -= slice) {
            if (result_.waitFor(slice, isThere))
                return true;
        }
        return result_.waitFor(limit, isThere);
    }

    // The first outcome: returns its value, which only one caller may take, or throws its error. Waits
    // until there is one, so somebody must be bound to settle it.
    T firstResult()
    {
        Outcome outcome = result_.waitUntil(isThere, [](std::optional<Outcome>& result) -> Outcome {
            if (const auto* error = std::get_if<std::exception_ptr>(&*result))
                return *error;
            return Outcome(std::in_place_index<0>, std::move(std::get<T>(*result)));
        });
        if (const auto* error = std::get_if<std::exception_ptr>(&outcome))
            std::rethrow_exception(*error);
        return std::move(std::get<T>(outcome));
    }

private:
    static bool isThere(const std::optional<Outcome>& result) { return result.has_value(); }

    Guarded<std::optional<Outcome>> result_;
};

} // namespace glimto
