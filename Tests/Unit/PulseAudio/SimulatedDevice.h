#pragma once

#include <cmath>
#include <cstdint>
#include <random>

#include "Support/HostClock.h"

namespace glimto {

using namespace std::chrono_literals;

// A device whose clock runs wrong, and a server that reports its timing with jitter. Time is what it is asked
// for.
class SimulatedDevice {
public:
    static constexpr int sampleRate = 48000;
    static constexpr std::int64_t blockFrames = 1200; // 25 ms
    static constexpr std::chrono::milliseconds delay{30}; // from hearing to arrival

    explicit SimulatedDevice(double clockError = 0) // 0.0002: its frames last 200 ppm longer
        : nanosecondsPerFrame_(1e9 / sampleRate * (1 + clockError))
    {
    }

    // When a frame is heard in truth, in nanoseconds.
    double heardAt(double frame) const { return start_ + frame * nanosecondsPerFrame_ + lost_; }
    HostTime arrivalOf(std::int64_t endFrame) const
    {
        return rounded(heardAt(static_cast<double>(endFrame))) + delay;
    }
    HostTime reportOf(std::int64_t frame)
    {
        return rounded(heardAt(static_cast<double>(frame)) + jitter_ * noise_(generator_)) + reportError_;
    }

    void setJitter(HostClock::duration jitter) { jitter_ = static_cast<double>(jitter.count()); }
    void setReportError(HostClock::duration error) { reportError_ = error; }

    // From the next frame on everything is heard so much later: sound in between is lost.
    void lose(HostClock::duration time) { lost_ += static_cast<double>(time.count()); }

private:
    static HostTime rounded(double nanoseconds)
    {
        return HostTime(HostClock::duration(std::llround(nanoseconds)));
    }

    double start_ = 500e9;
    double nanosecondsPerFrame_;
    double lost_ = 0;
    double jitter_ = 0;
    HostClock::duration reportError_{0};
    std::mt19937 generator_{7};
    std::normal_distribution<double> noise_;
};

} // namespace glimto
