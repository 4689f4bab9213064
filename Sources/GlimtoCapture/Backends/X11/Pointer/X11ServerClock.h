#pragma once

#include <cstdint>
#include <deque>

#include "Support/HostClock.h"

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
        HostTime before = {}; // when the stamp was asked for
        HostTime after = {}; // and when it was there
    };

    void add(const Measurement& measurement);
    bool hasMeasurement() const { return !measurements_.empty(); }

    // Whether the clocks are not known well yet, and one more measurement would help.
    bool needsMeasurement() const { return measurements_.size() < fewestMeasurements; }

    // The middle of the stamp's millisecond, on the host clock. Of all the moments that the stamp may mean it
    // is the one nearest to `now`.
    //
    // Example: the clocks agree and the stamp is 5000: 5000.5 ms, or 2^32 ms more 49.7 days later.
    HostTime hostTime(std::uint32_t stamp, HostTime now) const;

private:
    // What must be added to the server's time to get the host's.
    struct Offset {
        HostClock::duration least{0};
        HostClock::duration most{0};
    };

    Offset offset(const Measurement& measurement) const;
    // When the stamp's millisecond begins, by the server's time.
    HostTime unwrapped(std::uint32_t stamp, HostTime now) const;
    void settle();

    static constexpr std::size_t fewestMeasurements = 5;
    static constexpr std::size_t mostMeasurements = 16;

    std::deque<Measurement> measurements_;
    HostClock::duration offset_{0};
};

} // namespace glimto
