#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace glimto {

// What became of a tool that was run.
enum class DesktopToolResult {
    succeeded, // exit status 0
    failed,
    stillRunning, // the deadline passed
};

// What happens to a tool that still runs when its deadline passes.
enum class DesktopToolOvertime { leaveRunning, end };

// Runs a program of the desktop and waits for its end, `deadline` at most.
//
// `arguments` begins with the program's name, which is looked up in PATH. The program runs in a session
// of its own, so that it may outlive us and a key typed at our terminal does not reach it. Its streams
// are /dev/null: it can neither ask anything nor hold on to ours. Throws PlatformError when it cannot
// be started; the error number is ENOENT when it is not installed.
DesktopToolResult runDesktopTool(const std::vector<std::string>& arguments,
    std::chrono::milliseconds deadline, DesktopToolOvertime overtime);

} // namespace glimto
