#include "GlimtoTake/Plan/CameraPath.h"

#include <algorithm>
#include <cmath>

namespace glimto {

namespace {

constexpr double fastest = 1.5; // screens a second
constexpr double shortestMovement = 0.7; // seconds
constexpr double steepestEase = 1.875; // greatest slope of eased()
constexpr double longestMovementShare = 0.96; // of a zoom, at both ends together

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

} // namespace

double movementSeconds(const CameraView& a, const CameraView& b)
{
    return std::max(shortestMovement, distance(a, b) * steepestEase / fastest);
}

CameraView viewOf(const Zoom& zoom)
{
    const double size = 1 / std::max(zoom.scale, 1.0);
    return {std::clamp(zoom.x - size / 2, 0.0, 1 - size), std::clamp(zoom.y - size / 2, 0.0, 1 - size), size};
}

CameraPath::CameraPath(const std::vector<Zoom>& zooms)
{
    const CameraView whole;
    // Of the zoom that the camera is about to leave.
    CameraView view;
    double leaveAt = 0; // seconds
    for (std::size_t at = 0; at < zooms.size(); ++at) {
        const Zoom& zoom = zooms[at];
        const bool comesFromZoom = at > 0 && zoom.from - zooms[at - 1].to < shortestWholeView;
        const bool goesToZoom = at + 1 < zooms.size() && zooms[at + 1].from - zoom.to < shortestWholeView;
        const CameraView before = comesFromZoom ? view : whole;
        view = viewOf(zoom);
        // Between two zooms half of the movement belongs to each, but for the pause between them.
        const auto within = [](const CameraView& from, const CameraView& to, double pause) {
            return std::max(0.0, (movementSeconds(from, to) - pause) / 2);
        };
        double arriving = comesFromZoom ? within(before, view, zoom.from - zooms[at - 1].to)
                                        : movementSeconds(whole, view);
        double leaving = goesToZoom ? within(view, viewOf(zooms[at + 1]), zooms[at + 1].from - zoom.to)
                                    : movementSeconds(view, whole);
        const double time = (zoom.to - zoom.from) * longestMovementShare;
        const double share = time / std::max(time, arriving + leaving);
        arriving *= share;
        leaving *= share;
        movements_.push_back({comesFromZoom ? leaveAt : zoom.from, zoom.from + arriving, before, view});
        leaveAt = zoom.to - leaving;
        if (!goesToZoom)
            movements_.push_back({leaveAt, zoom.to, view, whole});
    }
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
