#pragma once

#include <chrono>
#include <optional>
#include <vector>

#include "Platform/Geometry.h"

namespace glimto {

// Rectangles that stay in force for a while after they are gone.
//
// A compositing manager shows a window where it was, or fading, for some time after the server says
// that it has moved or gone.
class X11LingeringRects {
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    // Takes the rectangles of now; those of the last call that are no longer among them linger until
    // `now` + `duration`. Returns all that are in force.
    std::vector<PixelRect> update(
        std::vector<PixelRect> current, TimePoint now, std::chrono::milliseconds duration);

    // Whether update() would return less than the last time.
    bool hasExpired(TimePoint now) const;

private:
    struct Lingering {
        PixelRect rect;
        TimePoint until;
    };
    std::vector<PixelRect> current_;
    std::vector<Lingering> lingering_;
};

} // namespace glimto
