#include "Backends/Tesseract/FlatZones.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <utility>

#include "Backends/Tesseract/DisjointSets.h"

namespace glimto {

namespace {

constexpr int flatStep = 2; // gray values from one pixel to the next
// Title bars are often shaded: long rows may differ by more from one to the next.
constexpr int shadedStep = 5;
constexpr int longRow = 24; // pixels
constexpr int largeArea = 4096; // pixels
constexpr int largeSide = 16;
constexpr int smallestArea = 150;
constexpr int smallestSide = 10;
constexpr int widestStroke = 4;
constexpr std::int32_t noCandidate = -1;

std::vector<std::uint8_t> rowAt(Pix* picture, int y)
{
    std::vector<std::uint8_t> row(static_cast<std::size_t>(pixGetWidth(picture)));
    l_uint32* data = pixGetData(picture) + std::ptrdiff_t{y} * pixGetWpl(picture);
    for (std::size_t x = 0; x < row.size(); ++x)
        row[x] = GET_DATA_BYTE(data, x);
    return row;
}

// Which pixels of a row stand in a flat run that is long.
std::vector<char> longRuns(const std::vector<std::uint8_t>& row)
{
    std::vector<char> marks(row.size());
    std::size_t begin = 0;
    for (std::size_t x = 1; x <= row.size(); ++x) {
        if (x < row.size() && std::abs(row[x] - row[x - 1]) <= flatStep)
            continue;
        std::fill(marks.begin() + static_cast<std::ptrdiff_t>(begin),
            marks.begin() + static_cast<std::ptrdiff_t>(x), static_cast<char>(x - begin >= longRow));
        begin = x;
    }
    return marks;
}

// Every pixel's area by the place of the area's first pixel.
std::vector<std::int32_t> flatAreas(Pix* picture)
{
    const auto width = static_cast<std::size_t>(pixGetWidth(picture));
    DisjointSets areas(width * static_cast<std::size_t>(pixGetHeight(picture)));
    // The root of both is the one that comes first.
    const auto join = [&areas](std::size_t one, std::size_t other) {
        const auto [first, second] = std::minmax({areas.root(one), areas.root(other)});
        areas.join(first, second);
    };
    std::vector<std::uint8_t> above;
    std::vector<char> isLongAbove;
    for (int y = 0; y < pixGetHeight(picture); ++y) {
        std::vector<std::uint8_t> row = rowAt(picture, y);
        std::vector<char> isLong = longRuns(row);
        for (std::size_t x = 0; x < width; ++x) {
            const std::size_t place = static_cast<std::size_t>(y) * width + x;
            if (x > 0 && std::abs(row[x] - row[x - 1]) <= flatStep)
                join(place, place - 1);
            if (y > 0
                && std::abs(row[x] - above[x])
                    <= (isLong[x] != 0 && isLongAbove[x] != 0 ? shadedStep : flatStep))
                join(place, place - width);
        }
        above = std::move(row);
        isLongAbove = std::move(isLong);
    }
    // A root comes before all of its pixels, so one pass in order makes every parent a root.
    std::vector<std::int32_t> parents = std::move(areas.parents());
    for (auto& parent : parents)
        parent = parents[static_cast<std::size_t>(parent)];
    return parents;
}

struct Candidate {
    PixelRect bounds;
    PixelRect broad; // the same without the strokes of letters that touch it
    std::int64_t area = 0;
    std::int64_t onEdge = 0; // pixels on the edge of the bounds
    int gray = 0;
};

bool isSurface(const Candidate& candidate)
{
    const auto [shorter, longer] = std::minmax(candidate.bounds.width, candidate.bounds.height);
    if (candidate.area >= largeArea && shorter >= largeSide)
        return true;
    const std::int64_t edge = 2 * (std::int64_t{shorter} + longer) - 4;
    const std::int64_t whole = std::int64_t{shorter} * longer;
    // Letters of selected words reach to the edges of their band, smooth lines of a table into its cells.
    const bool isBand = candidate.bounds.width >= 2 * candidate.bounds.height && 2 * candidate.area >= whole;
    // Bands of one colour below each other, of unequal lengths, leave much of their bounds free.
    const bool isBlock = shorter >= 2 * smallestSide && 10 * candidate.area >= 7 * whole;
    return candidate.area >= smallestArea && shorter >= smallestSide
        && candidate.onEdge * 10 >= edge * (isBand || isBlock ? 5 : 8) && candidate.area < whole;
}

// What is large enough to be looked at, in the order of its first pixels; `areas` holds its index after
// that, and noCandidate for all else.
std::vector<Candidate> candidatesOf(Pix* picture, std::vector<std::int32_t>& areas)
{
    std::vector<std::int32_t> sizes(areas.size());
    for (const auto root : areas)
        ++sizes[static_cast<std::size_t>(root)];

    std::vector<Candidate> candidates;
    std::vector<std::int32_t>& indexes = sizes; // the same memory: a root's size becomes its index
    std::size_t place = 0;
    int run = 0; // pixels of one area up to this one
    for (int y = 0; y < pixGetHeight(picture); ++y) {
        for (int x = 0; x < pixGetWidth(picture); ++x, ++place) {
            const auto root = static_cast<std::size_t>(areas[place]);
            if (root == place) {
                const bool isLarge = sizes[place] >= smallestArea;
                if (isLarge)
                    candidates.push_back({{}, {}, sizes[place], 0, valueAt(picture, x, y)});
                indexes[place] = isLarge ? static_cast<std::int32_t>(candidates.size()) - 1 : noCandidate;
            }
            areas[place] = indexes[root];
            run = x > 0 && areas[place] == areas[place - 1] ? run + 1 : 1;
            if (areas[place] == noCandidate)
                continue;
            Candidate& candidate = candidates[static_cast<std::size_t>(areas[place])];
            candidate.bounds = boundingRect(candidate.bounds, {x, y, 1, 1});
            if (run > widestStroke)
                candidate.broad = boundingRect(candidate.broad, {x - widestStroke, y, widestStroke + 1, 1});
        }
    }
    place = 0;
    for (int y = 0; y < pixGetHeight(picture); ++y) {
        for (int x = 0; x < pixGetWidth(picture); ++x, ++place) {
            if (areas[place] == noCandidate)
                continue;
            Candidate& candidate = candidates[static_cast<std::size_t>(areas[place])];
            PixelRect& bounds = candidate.bounds;
            if (candidate.broad.width >= 2 * candidate.broad.height)
                bounds = candidate.broad;
            candidate.onEdge += x == bounds.x || x + 1 == bounds.x + bounds.width || y == bounds.y
                || y + 1 == bounds.y + bounds.height;
        }
    }
    return candidates;
}

} // namespace

std::optional<FlatZones> findFlatZones(Pix* picture)
{
    FlatZones found;
    std::vector<std::int32_t> areas = flatAreas(picture);
    const std::vector<Candidate> candidates = candidatesOf(picture, areas);
    std::int64_t flat = 0;
    for (const auto& candidate : candidates) {
        if (!isSurface(candidate))
            continue;
        found.zones.push_back({candidate.broad, candidate.gray});
        flat += candidate.area;
    }
    if (flat * 5 < static_cast<std::int64_t>(areas.size()))
        return std::nullopt;

    const PixHandle surfaces = owned(pixCreate(pixGetWidth(picture), pixGetHeight(picture), 1));
    const std::int32_t* area = areas.data();
    for (int y = 0; y < pixGetHeight(picture); ++y) {
        l_uint32* row = pixGetData(surfaces.get()) + std::ptrdiff_t{y} * pixGetWpl(surfaces.get());
        for (int x = 0; x < pixGetWidth(picture); ++x, ++area) {
            if (*area != noCandidate && isSurface(candidates[static_cast<std::size_t>(*area)]))
                SET_DATA_BIT(row, x);
        }
    }
    // Strokes of a letter that have the colour of the surface next to theirs and touch it are none of it.
    pixOpenBrick(surfaces.get(), surfaces.get(), widestStroke + 1, 1);

    // The nearest surface is spread to what is zero.
    const PixHandle seeds = owned(pixCopy(nullptr, picture));
    pixSetMasked(seeds.get(), owned(pixThresholdToBinary(picture, 1)).get(), 1);
    pixInvert(surfaces.get(), surfaces.get());
    pixSetMasked(seeds.get(), surfaces.get(), 0);
    found.background = owned(pixSeedspread(seeds.get(), 4));
    return found;
}

} // namespace glimto
