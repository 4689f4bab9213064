#include "GlimtoTake/Plan/CameraPath.h"

#include <algorithm>
#include <cmath>

namespace glimto {

namespace {

constexpr double fastest = 1.5; // screens a second
constexpr double shortestMovement = 0.7; // seconds
constexpr double steepestEase = 1.875; // greatest slope of eased()
constexpr double longestMovementShare = 0.48; // of a zoom, on each end
constexpr double shortestRest
    = 1.0; // seconds of the whole picture between two zooms; else from one to the next

// From 0 to 1 with neither speed nor acceleration at both ends (Perlin's "smootherstep").
double eased(double share)
{
    return share * share * share * (share * (share * 6 - 15) + 10);
}

// How far a corner of the picture moves on the screen, in screens.
double distance(const CameraView& a, const CameraView& b)
{
    const double closer = std::min(a.size, b.size);
    const double x = std::max(std::abs(a.left - b.left), std::abs(a.left + a.size - b.left - b.size));
    const double y = std::max(std::abs(a.top - b.top), std::abs(a.top + a.size - b.top - b.size));
    return std::hypot(x, y) / closer;
}

double movementSeconds(const CameraView& a, const CameraView& b)
{
    return std::max(shortestMovement, distance(a, b) * steepestEase / fastest);
}

} // namespace

CameraView viewOf(const Zoom& zoom)
{
    const double size = 1 / std::max(zoom.scale, 1.0);
    return {std::clamp(zoom.x - size / 2, 0.0, 1 - size), std::clamp(zoom.y - size / 2, 0.0, 1 - size), size};
}

CameraPath::CameraPath(const std::vector<Zoom>& zooms)
{
    const CameraView whole;
    for (std::size_t at = 0; at < zooms.size(); ++at) {
        const Zoom& zoom = zooms[at];
        const CameraView view = viewOf(zoom);
        const double most = (zoom.to - zoom.from) * longestMovementShare;
        const bool followsClosely = at > 0 && zoom.from - zooms[at - 1].to < shortestRest;
        if (!followsClosely)
            addMovement(zoom.from, zoom.from + std::min(movementSeconds(whole, view), most), whole, view);
        const bool isFollowedClosely = at + 1 < zooms.size() && zooms[at + 1].from - zoom.to < shortestRest;
        if (!isFollowedClosely) {
            addMovement(zoom.to - std::min(movementSeconds(view, whole), most), zoom.to, view, whole);
            continue;
        }
        const Zoom& next = zooms[at + 1];
        const CameraView nextView = viewOf(next);
        const double middle = (zoom.to + next.from) / 2;
        const double nextMost = (next.to - next.from) * longestMovementShare;
        const double half = std::min(
            {movementSeconds(view, nextView) / 2, middle - zoom.to + most, next.from - middle + nextMost});
        addMovement(middle - half, middle + half, view, nextView);
    }
}

void CameraPath::addMovement(double from, double to, const CameraView& first, const CameraView& last)
{
    movements_.push_back({from, std::max(to, from), first, last});
}

CameraView CameraPath::at(double seconds) const
{
    const auto after = std::upper_bound(movements_.begin(), movements_.end(), seconds,
        [](double time, const Movement& movement) { return time < movement.from; });
    if (after == movements_.begin())
        return {};
    const Movement& movement = *std::prev(after);
    if (seconds >= movement.to)
        return movement.last;
    const double share = eased((seconds - movement.from) / (movement.to - movement.from));
    const auto between = [&](double a, double b) { return a + (b - a) * share; };
    return {between(movement.first.left, movement.last.left), between(movement.first.top, movement.last.top),
        between(movement.first.size, movement.last.size)};
}

} // namespace glimto
