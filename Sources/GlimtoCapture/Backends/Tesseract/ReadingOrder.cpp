#include "Backends/Tesseract/ReadingOrder.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <optional>

namespace glimto {

namespace {

using Words = std::vector<PixelRect>;

constexpr int deepest = 4; // cuts inside of cuts
constexpr std::size_t mostBands = 60;
constexpr std::size_t fewestRows = 3;
// In heights of letters.
constexpr int narrowestGutter = 2;
constexpr int narrowestBesideRule = 3;
constexpr int narrowestColumn = 5;
constexpr int narrowestProse = 15;
constexpr int bandGap = 2;

struct Span {
    int begin = 0;
    int end = 0; // one past the last
    int length() const { return end - begin; }
};

// Joins spans that less than `gap` parts.
std::vector<Span> joined(std::vector<Span> spans, int gap)
{
    std::ranges::sort(spans, {}, &Span::begin);
    std::vector<Span> result;
    for (const Span& span : spans) {
        if (!result.empty() && span.begin - result.back().end < gap)
            result.back().end = std::max(result.back().end, span.end);
        else
            result.push_back(span);
    }
    return result;
}

std::vector<Span> joinedAcross(const Words& words, int gap)
{
    std::vector<Span> spans;
    for (const auto& word : words)
        spans.push_back({word.x, word.x + word.width});
    return joined(std::move(spans), gap);
}

Span extent(const Words& words)
{
    return joinedAcross(words, 1 << 30).front();
}

Words inside(const Words& words, int begin, int end)
{
    Words result;
    std::ranges::copy_if(words, std::back_inserter(result),
        [&](const PixelRect& word) { return word.x >= begin && word.x + word.width <= end; });
    return result;
}

class Page {
public:
    Page(const std::vector<PixelRect>& rules, int letterHeight)
        : rules_(rules)
        , letterHeight_(letterHeight)
    {
    }

    void read(const Words& words, int depth, std::vector<TextRow>& rows) const
    {
        if (words.empty())
            return;
        if (depth < deepest) {
            if (const auto gutter = gutterIn(words)) {
                read(inside(words, 0, gutter->begin), depth + 1, rows);
                read(inside(words, gutter->end, 1 << 30), depth + 1, rows);
                return;
            }
            if (readBands(words, depth, rows))
                return;
        }
        std::ranges::copy(rowsOf(words, letterHeight_), std::back_inserter(rows));
    }

private:
    bool isColumn(const std::vector<TextRow>& rows, const Words& words, int narrowest) const
    {
        return rows.size() >= fewestRows && extent(words).length() >= narrowest * letterHeight_;
    }

    // Several rows, most of them reaching far to the right, and their words not below each other.
    bool isProse(const std::vector<TextRow>& rows, const Words& words) const
    {
        const int width = extent(words).length();
        if (rows.size() < fewestRows || width < narrowestProse * letterHeight_)
            return false;
        const auto longRows = std::count_if(rows.begin(), rows.end(),
            [&](const TextRow& row) { return 10 * extent(row.words).length() >= 8 * width; });
        if (3 * longRows < 2 * static_cast<std::ptrdiff_t>(rows.size()))
            return false;

        std::size_t sharedGaps = 0;
        const auto pieces = joinedAcross(words, std::max(2, letterHeight_ / 2));
        for (std::size_t index = 1; index < pieces.size(); ++index) {
            const auto parted = std::count_if(rows.begin(), rows.end(), [&](const TextRow& row) {
                const Span all = extent(row.words);
                return all.begin < pieces[index - 1].end && all.end > pieces[index].begin;
            });
            sharedGaps += 3 * parted >= 2 * static_cast<std::ptrdiff_t>(rows.size());
        }
        return sharedGaps < (rows.size() < 6 ? 2 : 1);
    }

    // How many rows stand beside others, and how many of them continue one.
    struct Comparison {
        std::size_t beside = 0;
        std::size_t continued = 0;
    };

    Comparison compare(const std::vector<TextRow>& left, const std::vector<TextRow>& right) const
    {
        const auto& fewer = left.size() <= right.size() ? left : right;
        const auto& more = left.size() <= right.size() ? right : left;
        Comparison result;
        for (const auto& row : fewer) {
            int covered = 0;
            int others = 0;
            int height = 0;
            for (const auto& other : more) {
                const int common = std::min(row.bottom, other.bottom) - std::max(row.top, other.top);
                others += 4 * common > letterHeight_;
                if (common > covered) {
                    covered = common;
                    height = std::min(row.bottom - row.top, other.bottom - other.top);
                }
            }
            result.beside += others > 0;
            result.continued += others == 1 && 4 * covered >= 3 * std::min(height, letterHeight_);
        }
        return result;
    }

    bool areColumns(const Words& left, const Words& right, int narrowest) const
    {
        const auto leftRows = rowsOf(left, letterHeight_);
        const auto rightRows = rowsOf(right, letterHeight_);
        if (!isColumn(leftRows, left, narrowest) || !isColumn(rightRows, right, narrowest))
            return false;
        const Comparison rows = compare(leftRows, rightRows);
        return rows.beside >= fewestRows
            && (3 * rows.continued < 2 * rows.beside
                || (isProse(leftRows, left) && isProse(rightRows, right)));
    }

    bool hasRule(const Span& gap, const Words& words) const
    {
        PixelRect all;
        for (const auto& word : words)
            all = boundingRect(all, word);
        return std::any_of(rules_.begin(), rules_.end(), [&](const PixelRect& rule) {
            return rule.x >= gap.begin && rule.x + rule.width <= gap.end
                && 10 * intersection({rule.x, all.y, rule.width, all.height}, rule).height >= 9 * all.height;
        });
    }

    // The widest white between two columns.
    std::optional<Span> gutterIn(const Words& words) const
    {
        const auto pieces = joinedAcross(words, narrowestGutter * letterHeight_);
        std::optional<Span> widest;
        for (std::size_t index = 1; index < pieces.size(); ++index) {
            const Span gap{pieces[index - 1].end, pieces[index].begin};
            if (widest && gap.length() <= widest->length())
                continue;
            const bool columns = hasRule(gap, words)
                ? areColumns(
                    inside(words, 0, gap.begin), inside(words, gap.end, 1 << 30), narrowestBesideRule)
                : areColumns(inside(words, pieces[index - 1].begin, gap.begin),
                    inside(words, gap.end, pieces[index].end), narrowestColumn);
            if (columns)
                widest = gap;
        }
        return widest;
    }

    // Looks for columns that only a part of the height has. False when there are none.
    bool readBands(const Words& words, int depth, std::vector<TextRow>& rows) const
    {
        const std::vector<Words> bands = bandsOf(words);
        if (bands.size() < 2 || bands.size() > mostBands)
            return false;
        bool found = false;
        Words plain; // of bands that are not part of a column
        const auto readPlain = [&] {
            std::ranges::copy(rowsOf(plain, letterHeight_), std::back_inserter(rows));
            plain.clear();
        };
        for (std::size_t first = 0; first < bands.size(); ++first) {
            const auto last = lastBandWithGutter(bands, first);
            if (!last) {
                plain.insert(plain.end(), bands[first].begin(), bands[first].end());
                continue;
            }
            found = true;
            readPlain();
            read(joinedBands(bands, first, *last), depth + 1, rows);
            first = *last;
        }
        if (found)
            readPlain();
        return found;
    }

    std::vector<Words> bandsOf(Words words) const
    {
        std::ranges::sort(words, {}, &PixelRect::y);
        std::vector<Words> bands;
        int reached = 0;
        for (const auto& word : words) {
            if (bands.empty() || word.y - reached >= bandGap * letterHeight_)
                bands.emplace_back();
            bands.back().push_back(word);
            reached = std::max(reached, word.y + word.height);
        }
        return bands;
    }

    static Words joinedBands(const std::vector<Words>& bands, std::size_t first, std::size_t last)
    {
        Words words;
        for (std::size_t index = first; index <= last; ++index)
            words.insert(words.end(), bands[index].begin(), bands[index].end());
        return words;
    }

    // The last band up to which all bands from `first` on have a gutter in common.
    std::optional<std::size_t> lastBandWithGutter(const std::vector<Words>& bands, std::size_t first) const
    {
        std::optional<std::size_t> found;
        for (std::size_t last = first; last < bands.size(); ++last) {
            if (gutterIn(joinedBands(bands, first, last)))
                found = last;
            else if (found || last > first + 1)
                break;
        }
        return found;
    }

    const std::vector<PixelRect>& rules_;
    int letterHeight_;
};

} // namespace

std::vector<TextRow> rowsInReadingOrder(
    const std::vector<PixelRect>& words, const std::vector<PixelRect>& rules, int letterHeight)
{
    std::vector<TextRow> rows;
    Page(rules, letterHeight).read(words, 0, rows);
    return rows;
}

} // namespace glimto
