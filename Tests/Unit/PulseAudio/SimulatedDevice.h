#pragma once

#include <cmath>
#include <cstdint>
#include <random>

namespace glimto {

constexpr std::int64_t millisecond = 1'000'000;
constexpr std::int64_t second = 1'000'000'000;

// A device whose clock runs wrong, and a server that reports its timing with jitter. Time is what it is asked
// for.
class SimulatedDevice {
public:
    static constexpr int sampleRate = 48000;
    static constexpr std::int64_t blockFrames = 1200; // 25 ms
    static constexpr std::int64_t delay = 30 * millisecond; // from hearing to arrival

    explicit SimulatedDevice(double clockError = 0) // 0.0002: its frames last 200 ppm longer
        : nanosecondsPerFrame_(1e9 / sampleRate * (1 + clockError))
    {
    }

    // When a frame is heard in truth.
    double heardAt(double frame) const { return start_ + frame * nanosecondsPerFrame_ + lost_; }
    std::int64_t arrivalOf(std::int64_t endFrame) const
    {
        return std::llround(heardAt(static_cast<double>(endFrame))) + delay;
    }
    std::int64_t reportOf(std::int64_t frame)
    {
        return std::llround(heardAt(static_cast<double>(frame)) + jitter_ * noise_(generator_))
            + reportError_;
    }

    void setJitter(std::int64_t nanoseconds) { jitter_ = static_cast<double>(nanoseconds); }
    void setReportError(std::int64_t nanoseconds) { reportError_ = nanoseconds; }

    // From the next frame on everything is heard so much later: sound in between is lost.
    void lose(std::int64_t nanoseconds) { lost_ += static_cast<double>(nanoseconds); }

private:
    double start_ = 500e9;
    double nanosecondsPerFrame_;
    double lost_ = 0;
    double jitter_ = 0;
    std::int64_t reportError_ = 0;
    std::mt19937 generator_{7};
    std::normal_distribution<double> noise_;
};

} // namespace glimto
