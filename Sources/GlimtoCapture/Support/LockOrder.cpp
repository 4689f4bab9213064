#include "Support/LockOrder.h"

#include <cassert>
#include <utility>

#include "Support/ProcessWide.h"

namespace glimto {

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
