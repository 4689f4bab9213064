#include "Recording/RecordingClock.h"

#include <thread>

namespace glimto {

RecordingClock::Seconds SystemRecordingClock::now()
{
    return std::chrono::steady_clock::now().time_since_epoch();
}

void SystemRecordingClock::sleepFor(Seconds duration)
{
    std::this_thread::sleep_for(duration);
}

} // namespace glimto
