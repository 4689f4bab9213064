#include "Support/RunProgram.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <optional>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Support/Errors.h"
#include "Support/SpawnSettings.h"

namespace glimto {

namespace {

constexpr std::chrono::milliseconds firstPause{1};
constexpr std::chrono::milliseconds longestPause{50};

pid_t start(std::vector<std::string> arguments)
{
    std::vector<char*> pointers;
    for (auto& argument : arguments)
        pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    const SpawnSettings settings;
    pid_t process = 0;
    const int error = ::posix_spawnp(&process, pointers.front(), &settings.actions, &settings.attributes,
        pointers.data(), settings.environment());
    if (error == ENOENT)
        throw PlatformError("POSIX", error, arguments.front() + " is not installed.");
    if (error != 0)
        throw PlatformError::posix("Could not start " + arguments.front(), error);
    return process;
}

// The exit status when the process has ended.
std::optional<int> collect(pid_t process, int options)
{
    int status = 0;
    pid_t ended = 0;
    do
        ended = ::waitpid(process, &status, options);
    while (ended < 0 && errno == EINTR);
    if (ended == 0)
        return std::nullopt;
    // Where the ends of children are ignored, the status is lost.
    if (ended < 0)
        return 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

} // namespace

std::optional<int> runProgram(const std::vector<std::string>& arguments, std::chrono::milliseconds deadline,
    ProgramOvertime overtime, const StopToken& stop)
{
    const auto end = std::chrono::steady_clock::now() + deadline;
    const pid_t process = start(arguments);
    auto pause = firstPause;
    while (std::chrono::steady_clock::now() < end && !stop.isStopRequested()) {
        if (const auto status = collect(process, WNOHANG))
            return status;
        stop.waitFor(pause);
        pause = std::min(pause * 2, longestPause);
    }
    if (overtime == ProgramOvertime::end) {
        ::kill(process, SIGKILL);
        collect(process, 0);
    }
    return std::nullopt;
}

} // namespace glimto
