#include "Support/AbandonedWork.h"

#include <atomic>

namespace glimto {

namespace {

// The process's, as the end of it is.
std::atomic<bool> someWorkIsAbandoned = false;

} // namespace

bool isWorkAbandoned()
{
    return someWorkIsAbandoned;
}

void noteAbandonedWork()
{
    someWorkIsAbandoned = true;
}

} // namespace glimto
