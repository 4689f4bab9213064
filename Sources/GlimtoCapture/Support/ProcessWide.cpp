#include "Support/ProcessWide.h"

#include <cassert>
#include <utility>

#include "Support/Guarded.h"

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

#ifndef NDEBUG

HeldLock::HeldLock(LockLevel level)
    : before_(std::exchange(processWide().highestHeldLock(), static_cast<std::uint8_t>(level)))
{
    assert(before_ < static_cast<std::uint8_t>(level) && "a lock was taken below one that the thread holds");
}

HeldLock::~HeldLock()
{
    processWide().highestHeldLock() = before_;
}

#endif

} // namespace glimto
