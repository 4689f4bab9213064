#pragma once

#include <chrono>
#include <functional>

#include <poll.h>
#include <sys/types.h>

#include "Support/HostClock.h"
#include "Support/LineOutput.h"

namespace glimto {

// What the wait for a trigger asks of the system. Failures are told by errno.
struct ScreenshotTriggerSystem {
    std::function<pid_t()> parentProcessID;
    std::function<HostTime()> now;
    std::function<int(pollfd& input, std::chrono::milliseconds timeout)> poll;
    std::function<ssize_t(int descriptor, char& byte)> readByte;

    // getppid(2), the monotonic clock, poll(2) and read(2).
    static ScreenshotTriggerSystem real();
};

// Tells on standard error that a screenshot is ready to be taken, and waits for the parent process to send
// one byte, whichever, on standard input; nothing more is read. Throws CLIError when the byte does not come
// within 8 seconds, when the input ends or fails, and soon after the parent has gone.
void waitForScreenshotTrigger(LineOutput& standardError, const ScreenshotTriggerSystem& system);

} // namespace glimto
