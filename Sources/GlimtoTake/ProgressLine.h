#pragma once

#include <chrono>
#include <string>

namespace glimto {

// One line on standard error that tells how far a piece of work has come, when that is a terminal; nothing
// otherwise.
class ProgressLine {
public:
    explicit ProgressLine(std::string what);
    ~ProgressLine(); // clears the line
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    // From 0 to 1. Cheap: the line is written a few times a second.
    void show(double done);

private:
    const std::string what_;
    const bool isShown_;
    bool hasWritten_ = false;
    std::chrono::steady_clock::time_point next_;
};

} // namespace glimto
