#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "Support/StopToken.h"

namespace glimto {

// What happens to a program that still runs when nobody waits for it any more.
enum class ProgramOvertime { leaveRunning, end };

// Runs a program and waits for its end, `deadline` at most and not longer than until `stop` is requested.
// Returns its exit status, as a shell does 128 and the signal's number for one that a signal ended; nothing
// when it still ran when nobody waited any more.
//
// `arguments` begins with the program's name, which is looked up in PATH when it has no slash. The program
// runs in a session of its own, so that it may outlive us and a key typed at our terminal does not reach it.
// Its streams are /dev/null: it can neither ask anything nor hold on to ours. Throws PlatformError when it
// cannot be started; the error number is ENOENT when it is not installed.
std::optional<int> runProgram(const std::vector<std::string>& arguments, std::chrono::milliseconds deadline,
    ProgramOvertime overtime, const StopToken& stop = {});

} // namespace glimto
