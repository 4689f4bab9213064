#pragma once

#include <functional>
#include <vector>

#include "Recording/RecordingClock.h"

namespace glimto {

// Time that passes only while somebody sleeps.
class FakeRecordingClock final : public RecordingClock {
public:
    Seconds now() override { return time; }

    void sleepFor(Seconds duration) override
    {
        sleeps.push_back(duration.count());
        time += duration;
        if (onSleep)
            onSleep();
    }

    Seconds time = Seconds(1000);
    std::vector<double> sleeps; // seconds of each sleep
    std::function<void()> onSleep; // what happens meanwhile
};

} // namespace glimto
