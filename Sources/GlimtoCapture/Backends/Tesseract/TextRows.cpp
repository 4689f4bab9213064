#include "Backends/Tesseract/TextRows.h"

#include <algorithm>
#include <cstddef>

#include "Backends/Tesseract/DisjointSets.h"

namespace glimto {

namespace {

int overlap(int begin, int end, int otherBegin, int otherEnd)
{
    return std::min(end, otherEnd) - std::max(begin, otherBegin);
}

// Whether two parts of ink, the first one further left, belong to one word.
bool belongTogether(const PixelRect& a, const PixelRect& b, int letterHeight)
{
    const int apart = -overlap(a.x, a.x + a.width, b.x, b.x + b.width);
    const int common = overlap(a.y, a.y + a.height, b.y, b.y + b.height);
    // Dots and accents stand above and below their letters.
    if (apart < 0 && std::min(a.height, b.height) * 2 <= letterHeight)
        return -common * 5 <= letterHeight;
    return 2 * apart < letterHeight && 2 * common >= std::min({a.height, b.height, letterHeight});
}

} // namespace

PixelRect grown(const PixelRect& rect, int by)
{
    return {rect.x - by, rect.y - by, rect.width + 2 * by, rect.height + 2 * by};
}

std::vector<PixelRect> findWords(std::vector<PixelRect> parts, int letterHeight)
{
    std::ranges::sort(parts, {}, &PixelRect::x);
    DisjointSets groups(parts.size());
    for (std::size_t index = 0; index < parts.size(); ++index) {
        for (std::size_t next = index + 1;
             next < parts.size() && parts[next].x < parts[index].x + parts[index].width + letterHeight;
             ++next) {
            if (belongTogether(parts[index], parts[next], letterHeight))
                groups.join(index, next);
        }
    }
    std::vector<PixelRect> whole(parts.size());
    for (std::size_t index = 0; index < parts.size(); ++index) {
        PixelRect& word = whole[groups.root(index)];
        word = boundingRect(word, parts[index]);
    }
    std::erase_if(whole, [](const PixelRect& word) { return word.isEmpty(); });
    return whole;
}

std::vector<TextRow> rowsOf(std::vector<PixelRect> words, int letterHeight)
{
    // What has the height of letters makes the rows; points, dashes and quotes join them.
    const auto isLow = [letterHeight](const PixelRect& word) { return 4 * word.height < 3 * letterHeight; };
    std::ranges::stable_sort(words, [&](const PixelRect& a, const PixelRect& b) {
        if (isLow(a) != isLow(b))
            return isLow(b);
        return 2 * a.y + a.height < 2 * b.y + b.height;
    });

    std::vector<TextRow> rows;
    for (const auto& word : words) {
        TextRow* best = nullptr;
        int most = isLow(word) ? -letterHeight : 0;
        for (auto row = rows.rbegin(); row != rows.rend(); ++row) {
            const int common = overlap(word.y, word.y + word.height, row->top, row->bottom);
            const int needed
                = isLow(word) ? -letterHeight : std::min(word.height, row->bottom - row->top) / 2;
            if (common > most && common >= needed) {
                most = common;
                best = &*row;
            }
            if (!isLow(word) && row->bottom + 4 * letterHeight < word.y)
                break;
        }
        if (best) {
            best->words.push_back(word);
            const int top = std::min(best->top, word.y);
            const int bottom = std::max(best->bottom, word.y + word.height);
            if (!isLow(word) && bottom - top <= 3 * letterHeight) {
                best->top = top;
                best->bottom = bottom;
            }
        } else {
            rows.push_back({{word}, word.y, word.y + word.height});
        }
    }
    for (auto& row : rows) {
        std::ranges::sort(row.words, {}, &PixelRect::x);
        for (const auto& word : row.words) {
            row.top = std::min(row.top, word.y);
            row.bottom = std::max(row.bottom, word.y + word.height);
        }
    }
    std::stable_sort(rows.begin(), rows.end(),
        [](const TextRow& a, const TextRow& b) { return a.top + a.bottom < b.top + b.bottom; });
    return rows;
}

std::vector<TextRow> fieldsOf(const TextRow& row)
{
    const int widest = 3 * (row.bottom - row.top);
    std::vector<TextRow> fields;
    int reached = 0;
    for (const auto& word : row.words) {
        if (fields.empty() || word.x - reached > widest)
            fields.push_back({{}, row.top, row.bottom});
        fields.back().words.push_back(word);
        reached = std::max(reached, word.x + word.width);
    }
    return fields;
}

} // namespace glimto
