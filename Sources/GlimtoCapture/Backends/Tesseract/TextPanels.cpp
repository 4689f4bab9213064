#include "Backends/Tesseract/TextPanels.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <numeric>
#include <utility>

#include "Backends/Tesseract/TextRows.h"

namespace glimto {

namespace {

constexpr int panelShortSide = 20; // pixels
constexpr int panelLongSide = 200;
// Edges of neighbours may overlap by this much, as antialiased and rounded edges make them.
constexpr int edgeOverlap = 4; // pixels

struct Panel {
    PixelRect bounds;
    int gray = -1; // none: what lies on no panel
    std::vector<PixelRect> words;
};

bool isPanel(const FlatZone& zone)
{
    const auto [shorter, longer] = std::minmax(zone.bounds.width, zone.bounds.height);
    return shorter >= panelShortSide && longer >= panelLongSide;
}

bool isInside(const PixelRect& inner, const PixelRect& outer)
{
    return intersection(inner, outer) == inner;
}

std::int64_t areaOf(const Panel& panel)
{
    return std::int64_t{panel.bounds.width} * panel.bounds.height;
}

// The panels, the smallest first; the last one is the whole picture.
std::vector<Panel> panelsOf(const FlatZones& zones)
{
    std::vector<Panel> panels;
    for (const auto& zone : zones.zones) {
        if (isPanel(zone))
            panels.push_back({zone.bounds, zone.gray, {}});
    }
    std::ranges::stable_sort(panels, {}, areaOf);
    panels.push_back(
        {{0, 0, pixGetWidth(zones.background.get()), pixGetHeight(zones.background.get())}, -1, {}});
    return panels;
}

bool haveSameGray(int one, int other)
{
    constexpr int same = 2; // gray values
    return std::abs(one - other) <= same;
}

// The panel that a word stands on: the smallest one around it, if possible of the gray behind the word.
Panel& panelOf(const PixelRect& word, Pix* background, std::vector<Panel>& panels)
{
    const int gray = valueAt(background, word.x + word.width / 2, word.y + word.height / 2);
    const auto found = std::ranges::find_if(panels,
        [&](const Panel& panel) { return haveSameGray(panel.gray, gray) && isInside(word, panel.bounds); });
    return found != panels.end()
        ? *found
        : *std::ranges::find_if(panels, [&](const Panel& panel) { return isInside(word, panel.bounds); });
}

// Joins panels of one colour that only a line parts, as the cells of a table.
void joinCells(std::vector<Panel>& panels)
{
    for (auto panel = panels.begin(); panel != panels.end(); ++panel) {
        const PixelRect around = grown(panel->bounds, edgeOverlap);
        const auto other = std::find_if(std::next(panel), panels.end(), [&](const Panel& candidate) {
            return panel->gray >= 0 && candidate.gray >= 0 && haveSameGray(panel->gray, candidate.gray)
                && !intersection(around, candidate.bounds).isEmpty();
        });
        if (other == panels.end())
            continue;
        other->bounds = boundingRect(other->bounds, panel->bounds);
        other->words.insert(other->words.end(), panel->words.begin(), panel->words.end());
        panel->words.clear();
    }
    std::erase_if(panels, [](const Panel& panel) { return panel.words.empty(); });
}

// Whether `inner` is a part of lines of `outer`: so low that it holds a line alone, or with lines that go on
// beside it, as selected text has.
bool isInLine(const Panel& inner, const Panel& outer, int letterHeight)
{
    if (2 * inner.bounds.height < 7 * letterHeight)
        return true;
    const int space = 3 * letterHeight / 2; // between two words in letters of equal widths
    const auto goesOn = [&](const PixelRect& word) {
        const PixelRect around{word.x - space, word.y + word.height / 2, word.width + 2 * space, 1};
        return std::ranges::any_of(
            outer.words, [&](const PixelRect& other) { return !intersection(around, other).isEmpty(); });
    };
    return 4 * letterHeight * std::ranges::count_if(inner.words, goesOn) >= inner.bounds.height;
}

// Whether no words stand beside `inner`, which stands on `outer`. What touches it is part of its edge.
bool isAlone(const Panel& inner, const Panel& outer)
{
    const int top = inner.bounds.y + edgeOverlap;
    const int bottom = inner.bounds.y + inner.bounds.height - edgeOverlap;
    return std::ranges::none_of(outer.words, [&](const PixelRect& word) {
        return word.y + word.height > top && word.y < bottom
            && intersection(word, grown(inner.bounds, edgeOverlap)).isEmpty();
    });
}

// Joins panels with those that they stand on, the smallest first.
template <typename Belongs> void joinNested(std::vector<Panel>& panels, Belongs belongs)
{
    std::ranges::stable_sort(panels, {}, areaOf);
    for (auto inner = panels.begin(); inner != panels.end(); ++inner) {
        const auto outer = std::find_if(std::next(inner), panels.end(),
            [&](const Panel& candidate) { return isInside(inner->bounds, candidate.bounds); });
        if (outer == panels.end() || !belongs(*inner, *outer))
            continue;
        outer->words.insert(outer->words.end(), inner->words.begin(), inner->words.end());
        inner->words.clear();
    }
    std::erase_if(panels, [](const Panel& panel) { return panel.words.empty(); });
}

// Cuts `indexes` where one side of a line has only bounds that end before all others begin.
template <typename Begin, typename End>
std::vector<std::vector<std::size_t>> cut(std::vector<std::size_t> indexes, Begin begin, End end)
{
    std::ranges::stable_sort(indexes, {}, begin);
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
    const auto columns = cut(
        indexes, [&](std::size_t i) { return bounds[i].x; },
        [&](std::size_t i) { return bounds[i].x + bounds[i].width; });
    const auto& parts = rows.size() > 1 ? rows : columns;
    for (const auto& part : parts) {
        if (parts.size() > 1)
            appendInReadingOrder(bounds, part, order);
        else // they overlap: what begins first is read first
            order.insert(order.end(), rows.front().begin(), rows.front().end());
    }
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

std::vector<std::vector<PixelRect>> wordsByPanel(
    const FlatZones& zones, const std::vector<PixelRect>& words, int letterHeight)
{
    std::vector<Panel> panels = panelsOf(zones);
    for (const auto& word : words)
        panelOf(word, zones.background.get(), panels).words.push_back(word);
    std::erase_if(panels, [](const Panel& panel) { return panel.words.empty(); });
    joinNested(
        panels, [&](const Panel& inner, const Panel& outer) { return isInLine(inner, outer, letterHeight); });
    joinCells(panels);
    joinNested(panels, isAlone);
    std::ranges::reverse(panels); // what stands on another one is read after it

    std::vector<PixelRect> bounds;
    for (const auto& panel : panels) {
        bounds.emplace_back();
        for (const auto& word : panel.words)
            bounds.back() = boundingRect(bounds.back(), word);
    }
    std::vector<std::vector<PixelRect>> ordered;
    for (const std::size_t index : readingOrder(bounds))
        ordered.push_back(std::move(panels[index].words));
    return ordered;
}

} // namespace glimto
