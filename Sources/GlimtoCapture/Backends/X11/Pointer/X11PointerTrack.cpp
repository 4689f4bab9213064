#include "Backends/X11/Pointer/X11PointerTrack.h"

#include <algorithm>
#include <cmath>

namespace glimto {

namespace {

using Kind = X11Motion::Kind;

// How many motions are tried as the last absolute one.
constexpr std::size_t mostAttempts = 64;

Point wholePixel(Point point)
{
    return {std::floor(point.x), std::floor(point.y)};
}

Point difference(Point a, Point b)
{
    return {a.x - b.x, a.y - b.y};
}

// Fractions of a pixel are not known at first, so the steps may be one pixel off.
bool isNear(Point a, Point b)
{
    return std::abs(a.x - b.x) <= 1 && std::abs(a.y - b.y) <= 1;
}

std::size_t firstMotion(std::span<const X11Motion> motions)
{
    const auto found
        = std::ranges::find_if(motions, [](const auto& motion) { return motion.kind != Kind::none; });
    return static_cast<std::size_t>(found - motions.begin());
}

} // namespace

X11PointerTrack::X11PointerTrack(int width, int height)
{
    setScreenSize(width, height);
}

void X11PointerTrack::setScreenSize(int width, int height)
{
    right_ = std::max(0, width - 1);
    bottom_ = std::max(0, height - 1);
}

std::vector<Point> X11PointerTrack::follow(std::span<const X11Motion> motions, std::optional<Point> answer)
{
    std::vector<Point> path;
    if (!answer) {
        path = walk(last_.value_or(Point{}), motions, 0);
        if (last_ && !path.empty())
            last_ = path.back();
    } else if (auto found = explained(motions, *answer)) {
        path = std::move(*found);
        const Point end = path.empty() ? last_.value_or(*answer) : path.back();
        const Point rest = difference(*answer, wholePixel(end));
        for (std::size_t index = firstMotion(motions); index < path.size(); ++index)
            path[index] = clamped({path[index].x + rest.x, path[index].y + rest.y});
        last_ = Point{end.x + rest.x, end.y + rest.y};
    } else {
        path = walk(startFor(motions, *answer), motions, 0);
        const Point rest = path.empty() ? Point{} : difference(*answer, wholePixel(path.back()));
        for (auto& point : path)
            point = clamped({point.x + rest.x, point.y + rest.y});
        last_ = *answer;
    }
    std::ranges::transform(path, path.begin(), wholePixel);
    return path;
}

// A path that leads from the last answer to this one, if the steps give one.
std::optional<std::vector<Point>> X11PointerTrack::explained(
    std::span<const X11Motion> motions, Point answer) const
{
    const Point start = last_.value_or(answer);
    const bool hasMoved = firstMotion(motions) < motions.size();
    if (!hasMoved)
        return wholePixel(start) == answer ? std::optional(walk(start, motions, 0)) : std::nullopt;
    if (last_) {
        auto path = walk(start, motions, 0);
        if (isNear(wholePixel(path.back()), answer))
            return path;
    }
    for (std::size_t count = motions.size(), attempt = 0; count > 0 && attempt < mostAttempts;
         --count, ++attempt) {
        if (motions[count - 1].kind != Kind::either)
            continue;
        auto path = walk(start, motions, count);
        if (isNear(wholePixel(path.back()), answer))
            return path;
    }
    return std::nullopt;
}

// Where the pointer must have been for the steps to end at `answer`.
Point X11PointerTrack::startFor(std::span<const X11Motion> motions, Point answer) const
{
    Point start = answer;
    for (const auto& motion : motions) {
        if (motion.kind == Kind::relative || motion.kind == Kind::either) {
            start.x -= motion.x.value_or(0);
            start.y -= motion.y.value_or(0);
        }
    }
    return clamped(start);
}

// `absoluteCount`: how many of the first motions are absolute where they may be either.
std::vector<Point> X11PointerTrack::walk(
    Point start, std::span<const X11Motion> motions, std::size_t absoluteCount) const
{
    std::vector<Point> path;
    path.reserve(motions.size());
    Point at = start;
    for (const auto& motion : motions) {
        const bool isAbsolute
            = motion.kind == Kind::absolute || (motion.kind == Kind::either && path.size() < absoluteCount);
        if (isAbsolute)
            at = clamped({motion.x.value_or(at.x), motion.y.value_or(at.y)});
        else if (motion.kind != Kind::none)
            at = clamped({at.x + motion.x.value_or(0), at.y + motion.y.value_or(0)});
        path.push_back(at);
    }
    return path;
}

Point X11PointerTrack::clamped(Point point) const
{
    return {std::clamp(point.x, 0.0, right_), std::clamp(point.y, 0.0, bottom_)};
}

} // namespace glimto
