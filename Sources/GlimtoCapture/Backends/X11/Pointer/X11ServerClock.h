#pragma once

#include <cstdint>
#include <deque>

namespace glimto {

// Maps the X server's time stamps onto the host clock.
//
// A stamp counts whole milliseconds in 32 bits, so it starts anew every 49.7 days; the server's zero is
// anywhere. How far both clocks are apart is measured: a stamp that the server made between two moments
// of the host clock lies between them.
class X11ServerClock {
public:
    struct Measurement {
        std::uint32_t stamp = 0;
        std::int64_t before = 0; // host nanoseconds, when the stamp was asked for
        std::int64_t after = 0; // and when it was there
    };

    void add(const Measurement& measurement);
    bool hasMeasurement() const { return !measurements_.empty(); }

    // Whether the clocks are not known well yet, and one more measurement would help.
    bool needsMeasurement() const { return measurements_.size() < fewestMeasurements; }

    // The middle of the stamp's millisecond, in nanoseconds of the host clock. Of all the moments that
    // the stamp may mean it is the one nearest to `now`.
    //
    // Example: the clocks agree and the stamp is 5000: 5'000'500'000, or 2^32 ms more 49.7 days later.
    std::int64_t hostTime(std::uint32_t stamp, std::int64_t now) const;

private:
    // What must be added to the server's time to get the host's.
    struct Offset {
        std::int64_t least = 0;
        std::int64_t most = 0;
    };

    Offset offset(const Measurement& measurement) const;
    std::int64_t unwrapped(std::uint32_t stamp, std::int64_t now) const;
    void settle();

    static constexpr std::size_t fewestMeasurements = 5;
    static constexpr std::size_t mostMeasurements = 16;

    std::deque<Measurement> measurements_;
    std::int64_t offset_ = 0;
};

} // namespace glimto
