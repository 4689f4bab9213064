#pragma once

#include <vector>

#include "GlimtoTake/Plan/ZoomPlan.h"

namespace glimto {

// The part of the picture that is seen, within the picture: 0 is its left or upper edge, 1 the other one.
// Width and height are the same share of the picture's.
struct CameraView {
    double left = 0;
    double top = 0;
    double size = 1; // 1 shows the whole picture, 0.5 is twice as close

    friend bool operator==(const CameraView&, const CameraView&) = default;
};

// The view that a zoom holds: around its middle, but never past the picture's edge.
CameraView viewOf(const Zoom& zoom);

// Seconds that a movement between two views takes at the speed that the eye follows: nothing on the screen
// moves faster than 1.5 screens a second.
double movementSeconds(const CameraView& a, const CameraView& b);

// Shorter pauses between two zooms do not show the whole picture; the camera moves from one to the next.
inline constexpr double shortestWholeView = 1; // seconds

// Where the camera is at any time. It rests, or moves from one rest to the next, eased at both ends, for
// movementSeconds() unless a zoom is too short for that: then its movements share it. A view between two
// others never reaches past the picture's edge.
class CameraPath {
public:
    // `zooms` in order, without overlaps.
    explicit CameraPath(const std::vector<Zoom>& zooms);

    CameraView at(double seconds) const;

private:
    struct Movement {
        double from = 0; // seconds
        double to = 0;
        CameraView first;
        CameraView last;
    };

    std::vector<Movement> movements_; // in order, without overlaps
};

} // namespace glimto
