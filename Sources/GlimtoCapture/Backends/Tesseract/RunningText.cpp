#include "Backends/Tesseract/RunningText.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "Backends/Tesseract/InkProfile.h"

namespace glimto {

namespace {

constexpr int fewestLines = 3;
// In heights of small letters.
constexpr int narrowestText = 15;
constexpr int highestLine = 4; // what is higher are several lines that touch each other
// Of the width of a column.
constexpr double longLine = 0.7;
// White between words that goes through this many lines does so by chance only rarely.
constexpr int tellingLines = 6;

// Lines that stand alone, from top to bottom.
std::vector<Span> linesIn(Pix* ink, const PixelRect& area, int letterHeight)
{
    auto lines = inkRuns(inkByRow(ink, area), 1);
    std::erase_if(lines, [letterHeight](const Span& line) {
        return 2 * line.length() < letterHeight || line.length() > highestLine * letterHeight;
    });
    for (auto& line : lines)
        line = {area.y + line.begin, area.y + line.end};
    return lines;
}

// What each line covers from left to right, from the left edge of `area`.
std::vector<Span> extentsOf(const std::vector<Span>& lines, Pix* ink, const PixelRect& area)
{
    std::vector<Span> extents;
    for (const Span& line : lines) {
        const auto text
            = inkRuns(inkByColumn(ink, {area.x, line.begin, area.width, line.length()}), area.width);
        if (!text.empty())
            extents.push_back(text.front());
    }
    return extents;
}

// Gaps between words that go through all lines, with words of most lines on both sides.
int sharedGaps(const std::vector<Span>& extents, Pix* ink, const PixelRect& area, int letterHeight)
{
    const auto words = inkRuns(inkByColumn(ink, area), std::max(2, letterHeight / 2));
    int gaps = 0;
    for (std::size_t index = 1; index < words.size(); ++index) {
        const auto parted = std::count_if(extents.begin(), extents.end(), [&](const Span& extent) {
            return extent.begin < words[index - 1].end && extent.end > words[index].begin;
        });
        if (3 * parted >= 2 * static_cast<std::ptrdiff_t>(extents.size()))
            ++gaps;
    }
    return gaps;
}

} // namespace

bool isRunningText(Pix* ink, const PixelRect& area, int letterHeight)
{
    if (area.width < narrowestText * letterHeight)
        return false;
    const auto lines = linesIn(ink, area, letterHeight);
    const auto extents = extentsOf(lines, ink, area);
    const auto count = static_cast<int>(extents.size());
    if (count < fewestLines)
        return false;
    const auto longLines = std::count_if(extents.begin(), extents.end(),
        [&area](const Span& extent) { return extent.length() >= longLine * area.width; });
    if (2 * longLines <= count)
        return false;
    return sharedGaps(extents, ink, area, letterHeight) < (count < tellingLines ? 2 : 1);
}

bool linesContinue(Pix* ink, const PixelRect& left, const PixelRect& right, int letterHeight)
{
    auto fewer = linesIn(ink, left, letterHeight);
    auto more = linesIn(ink, right, letterHeight);
    if (fewer.size() > more.size())
        std::swap(fewer, more);
    // Only where both have lines is there anything to compare.
    std::ptrdiff_t beside = 0;
    std::ptrdiff_t continued = 0;
    for (const Span& line : fewer) {
        int covered = 0; // by the line that covers most
        int others = 0;
        for (const Span& other : more) {
            const int overlap = std::min(line.end, other.end) - std::max(line.begin, other.begin);
            // Hanging letters may reach a little into the next row.
            others += 4 * overlap > letterHeight;
            covered = std::max(covered, overlap);
        }
        beside += others > 0;
        // A line without tall or hanging letters is covered whole by one that has them.
        continued += others == 1 && 4 * covered >= 3 * std::min(line.length(), letterHeight);
    }
    return beside < fewestLines || 3 * continued >= 2 * beside;
}

} // namespace glimto
