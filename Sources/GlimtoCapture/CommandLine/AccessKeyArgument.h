#pragma once

namespace glimto {

// Overwrites the values of "--access-key" in the process's own arguments, which every user of the machine can
// read, with blanks. Call it once they have been copied.
void wipeAccessKeys(int argumentCount, char** argumentValues);

} // namespace glimto
