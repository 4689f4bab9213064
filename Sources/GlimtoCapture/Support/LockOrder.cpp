#include "Support/LockOrder.h"

#include <cassert>
#include <utility>

namespace glimto {

#ifndef NDEBUG

namespace {

// Each thread's own: the highest level among the locks that it holds, 0 for none.
thread_local std::uint8_t highestHeld = 0;

} // namespace

HeldLock::HeldLock(LockLevel level)
    : before_(std::exchange(highestHeld, static_cast<std::uint8_t>(level)))
{
    assert(before_ < static_cast<std::uint8_t>(level) && "a lock was taken below one that the thread holds");
}

HeldLock::~HeldLock()
{
    highestHeld = before_;
}

#endif

} // namespace glimto
