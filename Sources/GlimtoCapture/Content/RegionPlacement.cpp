#include "Content/RegionPlacement.h"

#include <cstddef>
#include <string>
#include <vector>

#include "Support/Errors.h"

namespace glimto {

namespace {

constexpr double edgeTolerance = 0.001; // points
constexpr double smallestOverlap = 0.001; // square points

bool holds(const Rect& frame, const Rect& region)
{
    return frame.minX() - edgeTolerance <= region.minX() && frame.minY() - edgeTolerance <= region.minY()
        && region.maxX() <= frame.maxX() + edgeTolerance && region.maxY() <= frame.maxY() + edgeTolerance;
}

std::vector<std::size_t> overlappingDisplays(const Rect& region, std::span<const Display> displays)
{
    std::vector<std::size_t> indexes;
    for (std::size_t index = 0; index < displays.size(); ++index) {
        if (intersection(displays[index].frame, region).area() > smallestOverlap)
            indexes.push_back(index);
    }
    return indexes;
}

} // namespace

const Display& displayContainingRegion(const CaptureRegion& region, std::span<const Display> displays)
{
    const auto overlapping = overlappingDisplays(region, displays);
    if (overlapping.empty())
        throw CLIError("Selected region did not overlap a capturable display.");
    for (const std::size_t index : overlapping) {
        if (holds(displays[index].frame, region))
            return displays[index];
    }
    if (overlapping.size() == 1)
        throw CLIError("Selected region extends outside display " + std::to_string(overlapping.front())
            + ". Capture regions must fit within a single display and are not clipped.");
    throw CLIError(
        "Selected region spans multiple displays. Capture regions must fit within a single display.");
}

const Display* displayContainingLargestIntersection(const Rect& rect, std::span<const Display> displays)
{
    const Display* best = nullptr;
    double bestArea = 0;
    for (const Display& display : displays) {
        const double area = intersection(display.frame, rect).area();
        if (area > bestArea) {
            best = &display;
            bestArea = area;
        }
    }
    return best;
}

} // namespace glimto
