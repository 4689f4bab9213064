#pragma once

#include <chrono>
#include <exception>
#include <string>
#include <utility>

#include "Support/Errors.h"
#include "Support/FirstOutcome.h"
#include "Support/SerialQueue.h"

namespace glimto {

// A stage of the end took too long. Told as a CLIError.
class StopTimeoutError : public CLIError {
public:
    using CLIError::CLIError;
};

// "Stopping capture timed out after <whole seconds>s at stage: <stage>", as a StopTimeoutError.
std::exception_ptr stopTimeoutError(std::chrono::nanoseconds limit, const std::string& stage);

// Two runners, one finish: a stage's end and the end of its time.
template <typename T> using StopTimeoutRace = FirstOutcome<T>;

// Runs `operation` on `queue`, which was made when there was nothing to lose yet, and returns what it
// returns, or throws what it throws.
//
// After `limit` without an outcome it throws stopTimeoutError(limit, stage) and lets go of the queue and
// the operation, which may then still run for as long as the process lives: it must own everything that it
// touches.
template <typename Operation>
std::invoke_result_t<Operation&> withStopTimeout(
    SerialQueue& queue, std::chrono::nanoseconds limit, const std::string& stage, Operation operation)
{
    return queue.runWithin(limit, std::move(operation), stopTimeoutError(limit, stage));
}

} // namespace glimto
