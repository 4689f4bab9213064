#include "Backends/Tesseract/FlatZones.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <utility>

#include "Backends/Tesseract/DisjointSets.h"

namespace glimto {

namespace {

constexpr int flatStep = 2; // gray values from one pixel to the next
// Title bars are often shaded: long rows may differ by more from one to the next.
constexpr int shadedStep = 5;
constexpr int longRow = 24; // pixels
constexpr std::int64_t largeArea = 4096; // pixels
constexpr int largeSide = 16;
constexpr std::int64_t smallestArea = 150;
constexpr int smallestSide = 10;
constexpr std::int32_t noZone = -1;

bool differByAtMost(int step, std::uint8_t a, std::uint8_t b)
{
    return std::abs(a - b) <= step;
}

// Which pixels of the row at `y` stand in a flat run that is long.
void markLongRuns(const GrayPicture& picture, int y, std::vector<char>& marks)
{
    const std::uint8_t* row = picture.values.data() + picture.place(0, y);
    int begin = 0;
    for (int x = 1; x <= picture.width; ++x) {
        if (x < picture.width && differByAtMost(flatStep, row[x], row[x - 1]))
            continue;
        std::fill(marks.begin() + begin, marks.begin() + x, static_cast<char>(x - begin >= longRow));
        begin = x;
    }
}

// Every pixel's area by the place of the area's first pixel.
std::vector<std::int32_t> flatAreas(const GrayPicture& picture)
{
    DisjointSets areas(picture.values.size());
    // The root of both is the one that comes first.
    const auto join = [&areas](std::size_t one, std::size_t other) {
        const auto [first, second] = std::minmax({areas.root(one), areas.root(other)});
        areas.join(first, second);
    };
    std::vector<char> isLong(static_cast<std::size_t>(picture.width));
    std::vector<char> isLongAbove(isLong.size());
    for (int y = 0; y < picture.height; ++y) {
        std::swap(isLong, isLongAbove);
        markLongRuns(picture, y, isLong);
        for (int x = 0; x < picture.width; ++x) {
            const std::size_t place = picture.place(x, y);
            const auto column = static_cast<std::size_t>(x);
            const std::uint8_t value = picture.values[place];
            if (x > 0 && differByAtMost(flatStep, value, picture.values[place - 1]))
                join(place, place - 1);
            const int step = isLong[column] != 0 && isLongAbove[column] != 0 ? shadedStep : flatStep;
            if (y > 0 && differByAtMost(step, value, picture.values[picture.place(x, y - 1)]))
                join(place, picture.place(x, y - 1));
        }
    }
    // A root comes before all of its pixels, so one pass in order makes every parent a root.
    std::vector<std::int32_t> parents = std::move(areas.parents());
    for (auto& parent : parents)
        parent = parents[static_cast<std::size_t>(parent)];
    return parents;
}

struct Candidate {
    int left = std::numeric_limits<int>::max();
    int top = std::numeric_limits<int>::max();
    int right = -1; // last pixel
    int bottom = -1;
    std::int64_t area = 0;
    std::uint8_t gray = 0;
    std::int64_t onEdge = 0; // pixels on the edge of the bounds

    int width() const { return right - left + 1; }
    int height() const { return bottom - top + 1; }
};

bool isSurface(const Candidate& candidate)
{
    const int side = std::min(candidate.width(), candidate.height());
    if (candidate.area >= largeArea && side >= largeSide)
        return true;
    const std::int64_t edge = 2 * (std::int64_t{candidate.width()} + candidate.height()) - 4;
    const std::int64_t whole = std::int64_t{candidate.width()} * candidate.height();
    return candidate.area >= smallestArea && side >= smallestSide && candidate.onEdge * 10 >= edge * 8
        && candidate.area < whole;
}

// What is large enough to be looked at, in the order of its first pixels; `areas` holds its index after
// that, and noZone for all else.
std::vector<Candidate> candidatesOf(const GrayPicture& picture, std::vector<std::int32_t>& areas)
{
    std::vector<std::int32_t> sizes(areas.size());
    for (const auto root : areas)
        ++sizes[static_cast<std::size_t>(root)];

    std::vector<Candidate> candidates;
    std::vector<std::int32_t>& indexes = sizes; // the same memory: a root's size becomes its index
    for (std::size_t place = 0; place < areas.size(); ++place) {
        const auto root = static_cast<std::size_t>(areas[place]);
        if (root == place) {
            const std::int32_t size = sizes[place];
            indexes[place] = noZone;
            if (size >= smallestArea) {
                indexes[place] = static_cast<std::int32_t>(candidates.size());
                candidates.push_back({.area = size, .gray = picture.values[place]});
            }
        }
        areas[place] = indexes[root];
        if (areas[place] == noZone)
            continue;
        Candidate& candidate = candidates[static_cast<std::size_t>(areas[place])];
        const int x = static_cast<int>(place % static_cast<std::size_t>(picture.width));
        const int y = static_cast<int>(place / static_cast<std::size_t>(picture.width));
        candidate.left = std::min(candidate.left, x);
        candidate.right = std::max(candidate.right, x);
        candidate.top = std::min(candidate.top, y);
        candidate.bottom = std::max(candidate.bottom, y);
    }
    for (std::size_t place = 0; place < areas.size(); ++place) {
        if (areas[place] == noZone)
            continue;
        Candidate& candidate = candidates[static_cast<std::size_t>(areas[place])];
        const int x = static_cast<int>(place % static_cast<std::size_t>(picture.width));
        const int y = static_cast<int>(place / static_cast<std::size_t>(picture.width));
        if (x == candidate.left || x == candidate.right || y == candidate.top || y == candidate.bottom)
            ++candidate.onEdge;
    }
    return candidates;
}

// Gives every pixel that lies on no surface the nearest one's index and gray value, in city blocks.
void spread(const GrayPicture& picture, FlatZones& zones)
{
    constexpr int far = std::numeric_limits<std::uint16_t>::max();
    std::vector<std::uint16_t> distances(zones.zoneOfPixel.size());
    for (std::size_t place = 0; place < distances.size(); ++place)
        distances[place] = zones.zoneOfPixel[place] == noZone ? far : 0;

    const auto reach = [&](std::size_t place, std::size_t from) {
        const int distance = std::min(distances[from] + 1, far);
        if (distance >= distances[place])
            return;
        distances[place] = static_cast<std::uint16_t>(distance);
        zones.zoneOfPixel[place] = zones.zoneOfPixel[from];
        zones.background[place] = zones.background[from];
    };
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            const std::size_t place = picture.place(x, y);
            if (x > 0)
                reach(place, place - 1);
            if (y > 0)
                reach(place, picture.place(x, y - 1));
        }
    }
    for (int y = picture.height - 1; y >= 0; --y) {
        for (int x = picture.width - 1; x >= 0; --x) {
            const std::size_t place = picture.place(x, y);
            if (x + 1 < picture.width)
                reach(place, place + 1);
            if (y + 1 < picture.height)
                reach(place, picture.place(x, y + 1));
        }
    }
}

} // namespace

std::optional<FlatZones> findFlatZones(const GrayPicture& picture)
{
    FlatZones found;
    found.zoneOfPixel = flatAreas(picture);
    const std::vector<Candidate> candidates = candidatesOf(picture, found.zoneOfPixel);

    std::vector<std::int32_t> zoneOfCandidate(candidates.size(), noZone);
    std::int64_t flatPixels = 0;
    for (std::size_t index = 0; index < candidates.size(); ++index) {
        const Candidate& candidate = candidates[index];
        if (!isSurface(candidate))
            continue;
        zoneOfCandidate[index] = static_cast<std::int32_t>(found.zones.size());
        found.zones.push_back({{candidate.left, candidate.top, candidate.width(), candidate.height()},
            candidate.area, candidate.gray});
        flatPixels += candidate.area;
    }
    if (flatPixels * 5 < static_cast<std::int64_t>(picture.values.size()))
        return std::nullopt;

    for (auto& zone : found.zoneOfPixel) {
        if (zone != noZone)
            zone = zoneOfCandidate[static_cast<std::size_t>(zone)];
    }
    found.background = picture.values;
    spread(picture, found);
    return found;
}

} // namespace glimto
