#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <vector>

#include "Progress/ProgressSink.h"
#include "Support/NamedThread.h"

namespace glimto {

// Shows the figures of a recording in several places at once, twice a second, on a thread of its own. Without
// a place there is no thread.
class ProgressReporter {
public:
    static constexpr std::chrono::milliseconds usualInterval{500};

    // When no thread can be had, nothing is shown.
    ProgressReporter(std::shared_ptr<RecordingFigures> figures,
        std::vector<std::shared_ptr<ProgressSink>> sinks, std::chrono::nanoseconds interval = usualInterval);

    // Shows the end. A sink that hangs is let go of after a second.
    ~ProgressReporter();
    ProgressReporter(const ProgressReporter&) = delete;
    ProgressReporter& operator=(const ProgressReporter&) = delete;

private:
    struct Work;

    std::shared_ptr<Work> work_; // the thread's as well
    std::optional<NamedThread> thread_;
};

} // namespace glimto
