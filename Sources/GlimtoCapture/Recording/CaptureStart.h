#pragma once

#include <chrono>
#include <exception>
#include <functional>
#include <type_traits>
#include <utility>

#include "Recording/RecordingStopWishes.h"
#include "Support/SerialQueue.h"

namespace glimto {

// How long the steps that bring a capture to run may take.
struct CaptureStartLimits {
    // Up to here a step is waited for even when the recording is to end already: a system that asks nobody
    // is ready by then, and the take becomes a short one instead of none.
    std::chrono::nanoseconds patience = std::chrono::seconds(2);
    std::chrono::nanoseconds step = std::chrono::seconds(30); // without a question to the user
    std::chrono::nanoseconds stepWithQuestion = std::chrono::minutes(10); // what a user may think about it
    // For a step that was given up to take back its question.
    std::chrono::nanoseconds givingUp = std::chrono::seconds(1);
};

// Runs the steps that bring a capture to run, each on a thread of its own, so that a system that hangs or a
// user who does not answer can be given up: by a stop wish, or when its time is over.
class CaptureStart {
public:
    // Whether a step may ask the user, who then takes time to answer.
    enum class Question { none, possible };

    // The references outlive this object.
    CaptureStart(RecordingStopWishes& wishes, RecordingProgress& progress, const CaptureStartLimits& limits);

    // Returns what `operation` returns, or throws what it throws. Given up, `giveUp` is called, and the
    // operation is let go of if it does not end then; it must own all that it touches.
    //
    // A stop wish is told and then thrown as CLIError "No screen frames were captured. ...": the take ends as
    // one during which the screen showed nothing. Time that is over is CLIError "Starting the capture timed
    // out after <whole seconds>s.".
    template <typename Operation>
    std::invoke_result_t<Operation&> run(
        Question question, Operation operation, const std::function<void()>& giveUp)
    {
        SerialQueue queue("glimto.capture.start");
        return queue.runUntil(std::move(operation), [&](const auto& isSettledWithin) {
            auto reason = waitOrGiveUp(question, isSettledWithin);
            if (reason) {
                giveUp();
                isSettledWithin(limits_.givingUp);
            }
            return reason;
        });
    }

    // Waits for a step that is on its way elsewhere: until `isSettledWithin` says so, which waits for that
    // for a time. Throws as run() when it is given up.
    void await(const std::function<bool(std::chrono::nanoseconds)>& isSettledWithin);

private:
    // Null once `isSettled` says so within its limit; else why the step is given up.
    std::exception_ptr waitOrGiveUp(
        Question question, const std::function<bool(std::chrono::nanoseconds)>& isSettled);

    RecordingStopWishes& wishes_;
    RecordingProgress& progress_;
    CaptureStartLimits limits_;
};

} // namespace glimto
