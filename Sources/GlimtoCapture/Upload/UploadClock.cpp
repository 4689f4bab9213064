#include "Upload/UploadClock.h"

namespace glimto {

std::chrono::nanoseconds SystemUploadClock::now()
{
    return std::chrono::steady_clock::now().time_since_epoch();
}

bool SystemUploadClock::sleep(std::chrono::nanoseconds duration, const UploadCancellation& cancellation)
{
    return cancellation.waitFor(duration);
}

} // namespace glimto
