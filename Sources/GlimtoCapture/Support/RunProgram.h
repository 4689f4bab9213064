#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "Support/StopToken.h"

namespace glimto {

// What became of a program that was run.
enum class ProgramResult {
    succeeded, // exit status 0
    failed,
    stillRunning, // the deadline passed, or nobody wanted its result any more
};

// What happens to a program that still runs when nobody waits for it any more.
enum class ProgramOvertime { leaveRunning, end };

// Runs a program and waits for its end, `deadline` at most and not longer than until `stop` is requested.
//
// `arguments` begins with the program's name, which is looked up in PATH when it has no slash. The program
// runs in a session of its own, so that it may outlive us and a key typed at our terminal does not reach it.
// Its streams are /dev/null: it can neither ask anything nor hold on to ours. Throws PlatformError when it
// cannot be started; the error number is ENOENT when it is not installed.
ProgramResult runProgram(const std::vector<std::string>& arguments, std::chrono::milliseconds deadline,
    ProgramOvertime overtime, const StopToken& stop = {});

} // namespace glimto
