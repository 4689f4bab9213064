#include "Backends/Tesseract/TextPanels.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <utility>

namespace glimto {

namespace {

constexpr int panelShortSide = 20; // pixels
constexpr int panelLongSide = 200;
// Edges of neighbours may overlap by this much, as antialiased and rounded edges make them.
constexpr int edgeOverlap = 4; // pixels

bool isPanel(const FlatZone& zone)
{
    const auto [shorter, longer] = std::minmax(zone.bounds.width, zone.bounds.height);
    return shorter >= panelShortSide && longer >= panelLongSide;
}

using Borders = std::map<std::pair<std::int32_t, std::int32_t>, std::int64_t>;

// How many pixels of each zone have a pixel of each other zone beside or below them.
Borders bordersBetween(const GrayPicture& picture, const std::vector<std::int32_t>& zoneOfPixel)
{
    Borders borders;
    const auto count = [&](std::size_t one, std::size_t other) {
        const std::int32_t a = zoneOfPixel[one];
        const std::int32_t b = zoneOfPixel[other];
        if (a == b)
            return;
        ++borders[{a, b}];
        ++borders[{b, a}];
    };
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            const std::size_t place = picture.place(x, y);
            if (x + 1 < picture.width)
                count(place, place + 1);
            if (y + 1 < picture.height)
                count(place, picture.place(x, y + 1));
        }
    }
    return borders;
}

// For each zone the zone that it belongs to: itself when it is a panel, else the neighbour that it has the
// longest border with, or that one's. The smallest find their neighbours first.
std::vector<std::int32_t> ownersOf(const GrayPicture& picture, const FlatZones& zones)
{
    const Borders borders = bordersBetween(picture, zones.zoneOfPixel);
    std::vector<std::int32_t> owners(zones.zones.size());
    std::iota(owners.begin(), owners.end(), 0);
    const auto ownerOf = [&owners](std::int32_t zone) {
        while (owners[static_cast<std::size_t>(zone)] != zone)
            zone = owners[static_cast<std::size_t>(zone)];
        return zone;
    };

    std::vector<std::int32_t> bySize = owners;
    std::stable_sort(bySize.begin(), bySize.end(), [&zones](std::int32_t a, std::int32_t b) {
        return zones.zones[static_cast<std::size_t>(a)].area < zones.zones[static_cast<std::size_t>(b)].area;
    });
    for (const auto zone : bySize) {
        if (isPanel(zones.zones[static_cast<std::size_t>(zone)]))
            continue;
        std::int32_t neighbour = zone;
        std::int64_t longest = 0;
        for (auto border = borders.lower_bound({zone, 0});
             border != borders.end() && border->first.first == zone; ++border) {
            if (border->second > longest && ownerOf(border->first.second) != zone) {
                longest = border->second;
                neighbour = border->first.second;
            }
        }
        owners[static_cast<std::size_t>(zone)] = ownerOf(neighbour);
    }
    for (auto& owner : owners)
        owner = ownerOf(owner);
    return owners;
}

PixelRect united(const PixelRect& a, const PixelRect& b)
{
    const int left = std::min(a.x, b.x);
    const int top = std::min(a.y, b.y);
    return {left, top, std::max(a.x + a.width, b.x + b.width) - left,
        std::max(a.y + a.height, b.y + b.height) - top};
}

TextPanels onePanel(const GrayPicture& picture)
{
    return {{{0, 0, picture.width, picture.height}}, std::vector<std::int32_t>(picture.values.size())};
}

// Cuts `indexes` where one side of a line has only bounds that end before all others begin.
template <typename Begin, typename End>
std::vector<std::vector<std::size_t>> cut(std::vector<std::size_t> indexes, Begin begin, End end)
{
    std::stable_sort(
        indexes.begin(), indexes.end(), [&](std::size_t a, std::size_t b) { return begin(a) < begin(b); });
    std::vector<std::vector<std::size_t>> pieces;
    int reached = 0;
    for (const std::size_t index : indexes) {
        if (pieces.empty() || begin(index) + edgeOverlap >= reached)
            pieces.emplace_back();
        pieces.back().push_back(index);
        reached = std::max(reached, end(index));
    }
    return pieces;
}

void appendInReadingOrder(const std::vector<PixelRect>& bounds, const std::vector<std::size_t>& indexes,
    std::vector<std::size_t>& order)
{
    const auto rows = cut(
        indexes, [&](std::size_t i) { return bounds[i].y; },
        [&](std::size_t i) { return bounds[i].y + bounds[i].height; });
    if (rows.size() > 1) {
        for (const auto& row : rows)
            appendInReadingOrder(bounds, row, order);
        return;
    }
    const auto columns = cut(
        indexes, [&](std::size_t i) { return bounds[i].x; },
        [&](std::size_t i) { return bounds[i].x + bounds[i].width; });
    if (columns.size() > 1) {
        for (const auto& column : columns)
            appendInReadingOrder(bounds, column, order);
        return;
    }
    // They overlap: what begins first is read first.
    for (const auto& row : rows)
        order.insert(order.end(), row.begin(), row.end());
}

} // namespace

std::vector<std::size_t> readingOrder(const std::vector<PixelRect>& bounds)
{
    std::vector<std::size_t> indexes(bounds.size());
    std::iota(indexes.begin(), indexes.end(), std::size_t{0});
    std::vector<std::size_t> order;
    appendInReadingOrder(bounds, indexes, order);
    return order;
}

TextPanels findTextPanels(const GrayPicture& picture, const FlatZones& zones, std::size_t mostPanels)
{
    const std::vector<std::int32_t> owners = ownersOf(picture, zones);
    std::vector<std::int32_t> panelOfZone(owners.size(), -1);
    std::vector<PixelRect> bounds;
    for (std::size_t zone = 0; zone < owners.size(); ++zone) {
        std::int32_t& panel = panelOfZone[static_cast<std::size_t>(owners[zone])];
        if (panel < 0) {
            panel = static_cast<std::int32_t>(bounds.size());
            bounds.push_back(zones.zones[zone].bounds);
        } else {
            PixelRect& whole = bounds[static_cast<std::size_t>(panel)];
            whole = united(whole, zones.zones[zone].bounds);
        }
    }
    if (bounds.size() > mostPanels)
        return onePanel(picture);

    const std::vector<std::size_t> order = readingOrder(bounds);
    std::vector<std::int32_t> rank(order.size());
    TextPanels panels;
    for (std::size_t position = 0; position < order.size(); ++position) {
        rank[order[position]] = static_cast<std::int32_t>(position);
        panels.bounds.push_back(bounds[order[position]]);
    }
    panels.panelOfPixel.reserve(zones.zoneOfPixel.size());
    for (const auto zone : zones.zoneOfPixel) {
        const std::int32_t owner = owners[static_cast<std::size_t>(zone)];
        panels.panelOfPixel.push_back(
            rank[static_cast<std::size_t>(panelOfZone[static_cast<std::size_t>(owner)])]);
    }
    return panels;
}

} // namespace glimto
