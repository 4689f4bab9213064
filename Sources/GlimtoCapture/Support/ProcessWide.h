#pragma once

#include <atomic>
#include <cstdint>

namespace glimto {

// What there must be once in a process. Modules have a copy of this room, and use the program's own: a module
// is handed it before anything else of it runs.
struct ProcessWide {
    std::atomic<bool> isWorkAbandoned = false;

    // Of the calling thread: the highest level among the locks that it holds, 0 for none.
    std::uint8_t& (*highestHeldLock)() = nullptr;
};

ProcessWide& processWide();

// Uses `programs` from now on. It lives as long as the process.
void shareProcessWide(ProcessWide& programs);

// Whether any thread of this process was let go of while it was at work. The process must then end without
// running static destructors, which would take from that thread what it uses.
bool isWorkAbandoned();

// Makes isWorkAbandoned() true from now on.
void noteAbandonedWork();

} // namespace glimto
