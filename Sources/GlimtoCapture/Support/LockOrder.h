#pragma once

#include <cstdint>

namespace glimto {

// Who may take a lock while holding another one: a lock only above all that its thread holds.
// Documentation/architecture.md has the table of who is where.
enum class LockLevel : std::uint8_t {
    state = 1, // the state of one object: whoever holds it calls nobody who takes another
    leaf, // queues, stop tokens and outputs: they call nobody, so anybody may call them
};

// Marks one lock as held by this thread. A build without NDEBUG ends the process when the order is broken;
// other builds do nothing here.
class HeldLock {
public:
#ifdef NDEBUG
    explicit HeldLock(LockLevel) { }
#else
    explicit HeldLock(LockLevel level);
    ~HeldLock();

private:
    std::uint8_t before_; // the highest level held before
#endif
public:
    HeldLock(const HeldLock&) = delete;
    HeldLock& operator=(const HeldLock&) = delete;
};

} // namespace glimto
