#include "Backends/Tesseract/TextColumns.h"

#include <algorithm>
#include <optional>

#include <leptonica/allheaders.h>

#include "Backends/Tesseract/InkProfile.h"
#include "Backends/Tesseract/RunningText.h"

namespace glimto {

namespace {

constexpr int deepest = 4; // cuts inside of cuts
// In heights of small letters.
constexpr int narrowestGutter = 2;
constexpr int narrowestBesideLine = 3;
constexpr int narrowestApart = 5; // when its lines stand at other heights than those beside it
constexpr int bandGap = 2;
constexpr int fewestLines = 3;
// A column of pixels that is black over this much of its height is a line.
constexpr double lineCoverage = 0.9;

class Page {
public:
    Page(Pix* ink, int letterHeight)
        : ink_(ink)
        , letterHeight_(letterHeight)
    {
    }

    void cut(PixelRect area, int depth, std::vector<PixelRect>& columns) const
    {
        const auto text = shrunk(area);
        if (!text)
            return;
        if (depth < deepest) {
            if (const auto gutter = gutterIn(*text)) {
                cutAt(*gutter, *text, depth, columns);
                return;
            }
            if (cutBands(*text, depth, columns))
                return;
        }
        columns.push_back(*text);
    }

private:
    // `area` without the white around what is black.
    std::optional<PixelRect> shrunk(const PixelRect& area) const
    {
        if (area.isEmpty())
            return std::nullopt;
        const auto rows = inkRuns(inkByRow(ink_, area), area.height);
        const auto columns = inkRuns(inkByColumn(ink_, area), area.width);
        if (rows.empty() || columns.empty())
            return std::nullopt;
        return PixelRect{area.x + columns.front().begin, area.y + rows.front().begin,
            columns.front().length(), rows.front().length()};
    }

    int linesIn(const PixelRect& area) const
    {
        const auto lines = inkRuns(inkByRow(ink_, area), 1);
        return static_cast<int>(std::count_if(lines.begin(), lines.end(),
            [this](const Span& line) { return 2 * line.length() >= letterHeight_; }));
    }

    bool isColumn(const PixelRect& area, int narrowest) const
    {
        const auto text = shrunk(area);
        return text && text->width >= narrowest * letterHeight_ && linesIn(*text) >= fewestLines;
    }

    // Whether white parts two columns: prose on both sides, or lines that cannot be read across.
    bool areColumns(const PixelRect& left, const PixelRect& right) const
    {
        if (!isColumn(left, narrowestApart) || !isColumn(right, narrowestApart))
            return false;
        return (isRunningText(ink_, left, letterHeight_) && isRunningText(ink_, right, letterHeight_))
            || !linesContinue(ink_, left, right, letterHeight_);
    }

    // The widest white between two columns, as a span of x.
    std::optional<Span> gutterIn(const PixelRect& area) const
    {
        InkProfile columns = inkByColumn(ink_, area);
        InkProfile isLine(columns.size());
        for (std::size_t x = 0; x < columns.size(); ++x) {
            if (columns[x] >= lineCoverage * area.height && area.height >= 6 * letterHeight_) {
                isLine[x] = 1;
                columns[x] = 0;
            }
        }
        const auto pieces = inkRuns(columns, narrowestGutter * letterHeight_);
        std::optional<Span> widest;
        for (std::size_t index = 1; index < pieces.size(); ++index) {
            const Span gap{pieces[index - 1].end, pieces[index].begin};
            const bool hasLine = std::any_of(
                isLine.begin() + gap.begin, isLine.begin() + gap.end, [](int line) { return line != 0; });
            const auto piece = [&](const Span& span) {
                return PixelRect{area.x + span.begin, area.y, span.length(), area.height};
            };
            if (widest && gap.length() <= widest->length())
                continue;
            if (hasLine ? isColumn(piece({0, gap.begin}), narrowestBesideLine)
                        && isColumn(piece({gap.end, area.width}), narrowestBesideLine)
                        : areColumns(piece(pieces[index - 1]), piece(pieces[index])))
                widest = gap;
        }
        return widest;
    }

    void cutAt(const Span& gutter, const PixelRect& area, int depth, std::vector<PixelRect>& columns) const
    {
        cut({area.x, area.y, gutter.begin, area.height}, depth + 1, columns);
        cut({area.x + gutter.end, area.y, area.width - gutter.end, area.height}, depth + 1, columns);
    }

    // Looks for columns that only a part of the height has. False when there are none.
    bool cutBands(const PixelRect& area, int depth, std::vector<PixelRect>& columns) const
    {
        constexpr std::size_t mostBands = 40;
        const auto bands = inkRuns(inkByRow(ink_, area), bandGap * letterHeight_);
        if (bands.size() < 2 || bands.size() > mostBands)
            return false;
        const auto joined = [&](std::size_t first, std::size_t last) {
            return PixelRect{
                area.x, area.y + bands[first].begin, area.width, bands[last].end - bands[first].begin};
        };

        bool found = false;
        std::size_t plainFrom = 0; // first band that is not yet part of a column
        for (std::size_t first = 0; first < bands.size(); ++first) {
            const auto last = lastBandWithGutter(first, bands.size(), joined);
            if (!last)
                continue;
            found = true;
            if (plainFrom < first)
                columns.push_back(joined(plainFrom, first - 1));
            cut(joined(first, *last), depth + 1, columns);
            first = *last;
            plainFrom = first + 1;
        }
        if (found && plainFrom < bands.size())
            columns.push_back(joined(plainFrom, bands.size() - 1));
        return found;
    }

    // The last band up to which all bands from `first` on have a gutter in common.
    template <typename Joined>
    std::optional<std::size_t> lastBandWithGutter(
        std::size_t first, std::size_t count, const Joined& joined) const
    {
        std::optional<std::size_t> found;
        for (std::size_t last = first; last < count; ++last) {
            if (gutterIn(joined(first, last)))
                found = last;
            else if (found || last > first + 1)
                break;
        }
        return found;
    }

    Pix* ink_;
    int letterHeight_;
};

} // namespace

std::vector<PixelRect> findTextColumns(Pix* ink, int letterHeight)
{
    std::vector<PixelRect> columns;
    Page(ink, letterHeight).cut({0, 0, pixGetWidth(ink), pixGetHeight(ink)}, 0, columns);
    return columns;
}

} // namespace glimto
