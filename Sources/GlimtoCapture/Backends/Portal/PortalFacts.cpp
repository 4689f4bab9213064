#include "Backends/Portal/PortalFacts.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "Backends/Portal/PortalErrors.h"

namespace glimto {

namespace {

constexpr double edgeTolerance = 0.001; // points
constexpr double largestScale = 16;
constexpr int smallestSide = 2; // pixels of a stream

struct Shared {
    Point size; // points
    double scale = 1; // pixels a point
};

// A portal may tell nothing, or pixels for points.
Shared sharedSize(const PortalStream& stream, int pictureWidth, int pictureHeight)
{
    const Point pixels = {static_cast<double>(pictureWidth), static_cast<double>(pictureHeight)};
    if (!stream.size)
        return {pixels, 1};
    const double scale = pixels.x / stream.size->x;
    if (!(scale >= 1 && scale <= largestScale) || std::abs(pixels.y / stream.size->y - scale) > 0.1 * scale)
        return {pixels, 1};
    return {*stream.size, scale};
}

std::string wholeNumber(double value)
{
    return std::to_string(std::llround(value));
}

bool isDisplay(const Display& display, const PortalStream& stream, const Shared& shared)
{
    if (display.frame.isEmpty() || !stream.position)
        return true; // as far as can be told
    return stream.position->x == display.frame.x && stream.position->y == display.frame.y
        && std::abs(shared.size.x - display.frame.width) <= 1
        && std::abs(shared.size.y - display.frame.height) <= 1;
}

Rect partOfRegion(
    const Display& display, const Rect& region, const PortalStream& stream, const Shared& shared)
{
    // In points of the shared screen.
    Rect part = region;
    if (stream.position && !display.frame.isEmpty()) {
        part.x += display.frame.x - stream.position->x;
        part.y += display.frame.y - stream.position->y;
    }
    if (part.minX() < -edgeTolerance || part.minY() < -edgeTolerance
        || part.maxX() > shared.size.x + edgeTolerance || part.maxY() > shared.size.y + edgeTolerance)
        throw portalError(PortalFailure::regionElsewhere,
            "The region does not lie on the screen that was picked, which has " + wholeNumber(shared.size.x)
                + "x" + wholeNumber(shared.size.y) + " points"
                + (stream.position
                        ? " at " + wholeNumber(stream.position->x) + "," + wholeNumber(stream.position->y)
                        : std::string())
                + ".");
    return {part.x / shared.size.x, part.y / shared.size.y, part.width / shared.size.x,
        part.height / shared.size.y};
}

PortalCut displayCut(
    const CaptureRequest& request, const Display& display, const PortalStream& stream, const Shared& shared)
{
    PortalCut cut;
    cut.facts = request.expected;
    const Point origin = stream.position.value_or(Point{display.frame.x, display.frame.y});
    cut.sharedFrame = {origin.x, origin.y, shared.size.x, shared.size.y};
    if (request.configuration.sourceRect) {
        cut.framing.part = partOfRegion(display, *request.configuration.sourceRect, stream, shared);
        cut.facts.width = request.configuration.width;
        cut.facts.height = request.configuration.height;
        return cut;
    }
    cut.facts.width = static_cast<int>(shared.size.x);
    cut.facts.height = static_cast<int>(shared.size.y);
    cut.facts.pointScale = shared.scale;
    cut.facts.globalFrame = cut.sharedFrame;
    if (!isDisplay(display, stream, shared))
        cut.facts.description = "screen at " + wholeNumber(origin.x) + "," + wholeNumber(origin.y);
    return cut;
}

PortalCut windowCut(const CaptureRequest& request, const PortalStream& stream, const Shared& shared,
    int pictureWidth, int pictureHeight)
{
    PortalCut cut;
    cut.facts = request.expected;
    cut.facts.width = pictureWidth;
    cut.facts.height = pictureHeight;
    cut.facts.pointScale = shared.scale;
    const Point origin = stream.position.value_or(Point{});
    cut.sharedFrame = {origin.x, origin.y, shared.size.x, shared.size.y};
    cut.facts.globalFrame = cut.sharedFrame;
    return cut;
}

} // namespace

PortalCut portalCut(
    const CaptureRequest& request, const PortalStream& stream, int pictureWidth, int pictureHeight)
{
    const Shared shared = sharedSize(stream, pictureWidth, pictureHeight);
    const auto* display = std::get_if<DisplayContentFilter>(&request.filter.content);
    PortalCut cut = display ? displayCut(request, display->display, stream, shared)
                            : windowCut(request, stream, shared, pictureWidth, pictureHeight);
    cut.facts.width = std::max(cut.facts.width, smallestSide);
    cut.facts.height = std::max(cut.facts.height, smallestSide);
    cut.framing.width = cut.facts.width;
    cut.framing.height = cut.facts.height;
    cut.framing.queueDepth = std::max(1, request.configuration.queueDepth);
    return cut;
}

} // namespace glimto
