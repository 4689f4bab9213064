#pragma once

#include <memory>

#include "Platform/ProcessEnvironment.h"
#include "Platform/Terminal.h"

namespace glimto {

// The terminal that is both standard output and standard error. Null unless both streams are terminals that
// understand the usual escape sequences (TERM is set and not "dumb"). NO_COLOR, when it is set to anything,
// takes the colours away.
//
// Signals belong to the process, so there is one such object at a time: once there is something to be erased
// it handles SIGTSTP, unless that is ignored, and SIGCONT. The process stops and goes on as it would have
// without.
std::unique_ptr<Terminal> terminalOfProcess(const ProcessEnvironment& process);

} // namespace glimto
