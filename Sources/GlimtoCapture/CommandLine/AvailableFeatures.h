#pragma once

#include "Options/Command.h"

namespace glimto {

// Throws CLIError when the command needs something that this version of the program does not have. To
// be asked before anything is captured or written.
void requireAvailable(const Command& command);

} // namespace glimto
