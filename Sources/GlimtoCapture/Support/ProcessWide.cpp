#include "Support/ProcessWide.h"

namespace glimto {

namespace {

std::uint8_t& ownHighestHeldLock()
{
    thread_local std::uint8_t level = 0;
    return level;
}

// The only globals of this room: both are here so that nobody else needs any.
ProcessWide own{.isWorkAbandoned = false, .highestHeldLock = &ownHighestHeldLock};
std::atomic<ProcessWide*> shared = &own;

} // namespace

ProcessWide& processWide()
{
    return *shared;
}

void shareProcessWide(ProcessWide& programs)
{
    shared = &programs;
}

bool isWorkAbandoned()
{
    return processWide().isWorkAbandoned;
}

void noteAbandonedWork()
{
    processWide().isWorkAbandoned = true;
}

} // namespace glimto
