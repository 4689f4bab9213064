#pragma once

#include <chrono>
#include <memory>

#include "Support/Guarded.h"

namespace glimto {

// Whether somebody wants an operation to end early, which is for good. Copies share the wish. Any thread.
class StopToken {
public:
    StopToken();

    void requestStop() const;
    bool isStopRequested() const;

    // Waits. False as soon as the wish is there.
    bool waitFor(std::chrono::nanoseconds duration) const;

private:
    std::shared_ptr<Guarded<bool, LockLevel::leaf>> isRequested_; // every copy's
};

} // namespace glimto
