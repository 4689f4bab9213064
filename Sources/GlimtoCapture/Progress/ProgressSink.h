#pragma once

#include "Progress/RecordingFigures.h"

namespace glimto {

// Somewhere to show how far a recording has come.
class ProgressSink {
public:
    virtual ~ProgressSink() = default;

    // Called some times a second by one thread, and once more at the end. Must not wait for who looks.
    virtual void show(const RecordingSnapshot& snapshot) = 0;
};

} // namespace glimto
