#include "Stills/ScreenshotTrigger.h"

#include <algorithm>
#include <cerrno>
#include <string>
#include <system_error>

#include <unistd.h>

#include "Support/Errors.h"

namespace glimto {

namespace {

using std::chrono::milliseconds;

constexpr std::chrono::seconds patience{8};

// A parent that has gone is noticed within this time.
constexpr milliseconds slice{250};

// The error that errno names, as it continues `what`.
CLIError systemError(const std::string& what)
{
    const int number = errno;
    return CLIError(what + ": " + std::generic_category().message(number) + ".");
}

// Whether the byte has come. False when a signal came in between.
bool readTrigger(const ScreenshotTriggerSystem& system)
{
    char byte = 0;
    const ssize_t count = system.readByte(STDIN_FILENO, byte);
    if (count > 0)
        return true;
    if (count == 0)
        throw CLIError("Screenshot trigger input closed before capture.");
    if (errno == EINTR)
        return false;
    throw systemError("Could not read screenshot trigger input");
}

} // namespace

ScreenshotTriggerSystem ScreenshotTriggerSystem::real()
{
    return {.parentProcessID = [] { return ::getppid(); },
        .now = [] { return HostClock::now(); },
        .poll = [](pollfd& input,
                    milliseconds timeout) { return ::poll(&input, 1, static_cast<int>(timeout.count())); },
        .readByte = [](int descriptor, char& byte) { return ::read(descriptor, &byte, 1); }};
}

void waitForScreenshotTrigger(LineOutput& standardError, const ScreenshotTriggerSystem& system)
{
    const pid_t parent = system.parentProcessID();
    standardError.writeLine("GLIMTO_SCREENSHOT_READY_FOR_TRIGGER");
    const auto deadline = system.now() + patience;
    while (true) {
        const auto remaining = std::chrono::duration_cast<milliseconds>(deadline - system.now());
        if (remaining.count() < 1)
            throw CLIError("Timed out waiting for the screenshot capture trigger.");
        // Not whether it is the system's first process, which in a container is who starts us.
        if (system.parentProcessID() != parent)
            throw CLIError("Screenshot trigger parent exited before capture.");

        pollfd input = {.fd = STDIN_FILENO, .events = POLLIN | POLLERR | POLLHUP, .revents = 0};
        const int ready = system.poll(input, std::min(remaining, slice));
        if (ready < 0 && errno != EINTR)
            throw systemError("Could not wait for screenshot trigger input");
        if (ready <= 0)
            continue;
        if ((input.revents & (POLLIN | POLLHUP)) != 0) {
            if (readTrigger(system))
                return;
        } else if ((input.revents & (POLLERR | POLLNVAL)) != 0) {
            throw CLIError("Screenshot trigger input became unavailable before capture.");
        }
    }
}

} // namespace glimto
