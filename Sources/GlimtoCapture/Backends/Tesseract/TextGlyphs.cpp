#include "Backends/Tesseract/TextGlyphs.h"

#include <algorithm>

#include "Backends/Tesseract/Leptonica.h"
#include "Backends/Tesseract/TextRows.h"

namespace glimto {

namespace {

constexpr int inkBelow = 178; // faint words beside strong ones count, too
constexpr l_uint32 white = 255;
constexpr int lowestLetter = 4; // pixels
constexpr int highestLetter = 160;
// In heights of letters.
constexpr int ruleLength = 7;
constexpr int uprightRuleLength = 4;
constexpr int pictureHeight = 7;

// The middle height of what has the shape of a letter; 0 when there is nothing.
int middleHeight(const std::vector<PixelRect>& parts)
{
    std::vector<int> heights;
    for (const auto& part : parts) {
        if (part.height >= lowestLetter && part.height <= highestLetter && part.width <= 4 * part.height
            && part.height <= 8 * part.width)
            heights.push_back(part.height);
    }
    if (heights.empty())
        return 0;
    const auto middle = heights.begin() + static_cast<std::ptrdiff_t>(heights.size() / 2);
    std::nth_element(heights.begin(), middle, heights.end());
    return *middle;
}

enum class Direction { along, upright };

// Takes long thin runs out of `ink`: what is left of an opening along them.
std::vector<PixelRect> takeRules(Pix* pixels, Pix* ink, int length, int thickest, Direction direction)
{
    const bool isUpright = direction == Direction::upright;
    const PixHandle runs
        = owned(isUpright ? pixOpenBrick(nullptr, ink, 1, length) : pixOpenBrick(nullptr, ink, length, 1));
    std::vector<PixelRect> rules;
    const InkParts found(runs.get());
    for (const auto& rule : found.bounds) {
        if ((isUpright ? rule.width : rule.height) > thickest)
            continue;
        rules.push_back(rule);
        pixRasterop(ink, rule.x, rule.y, rule.width, rule.height, PIX_CLR, nullptr, 0, 0);
        pixRasterop(pixels, rule.x, rule.y, rule.width, rule.height, PIX_SET, nullptr, 0, 0);
    }
    return rules;
}

bool contains(const PixelRect& outer, const PixelRect& inner)
{
    return intersection(inner, grown(outer, -1)) == inner;
}

// Whether there is other ink close by at the left or the right, as in a word.
bool hasNeighbour(const PixelRect& part, const std::vector<PixelRect>& parts, int letterHeight)
{
    const int reach = std::max(letterHeight, part.height) / 2;
    const PixelRect around{part.x - reach, part.y, part.width + 2 * reach, part.height};
    return std::any_of(parts.begin(), parts.end(), [&](const PixelRect& other) {
        return intersection(part, other).isEmpty() && !intersection(around, other).isEmpty();
    });
}

// What is left of rules where they cross or end: small parts, corners, and upright sides of what is open.
bool isRemnant(const PixelRect& part, const std::vector<PixelRect>& parts,
    const std::vector<PixelRect>& rules, int letterHeight)
{
    constexpr int edge = 2; // pixels
    const int larger = std::max(part.width, part.height);
    const bool isSmall = 2 * larger < letterHeight
        || (4 * larger < 5 * letterHeight && !hasNeighbour(part, parts, letterHeight));
    const bool isSide = part.height >= 2 * letterHeight && 2 * part.width <= letterHeight;
    return (isSmall || isSide) && std::any_of(rules.begin(), rules.end(), [&](const PixelRect& rule) {
        return !intersection(part, grown(rule, isSide ? std::max(edge, letterHeight / 3) : edge)).isEmpty();
    });
}

// Whether letters of two lines touch: beside both halves stand others that reach only into theirs.
bool isOfTwoLines(const PixelRect& part, const std::vector<PixelRect>& parts, int letterHeight)
{
    const auto hasNeighbourAt = [&](int top) {
        const PixelRect around{part.x - letterHeight, top, part.width + 2 * letterHeight, part.height / 2};
        return std::ranges::any_of(parts, [&](const PixelRect& other) {
            return 2 * other.height > letterHeight && !intersection(around, other).isEmpty()
                && intersection(grown(around, letterHeight / 2), other).height == other.height;
        });
    };
    return part.height > 2 * letterHeight && part.height < 4 * letterHeight && hasNeighbourAt(part.y)
        && hasNeighbourAt(part.y + part.height / 2);
}

// Whether ink runs along all four sides, but for `corner` pixels at their ends.
bool hasFourSides(const PixelRect& part, Pix* shape, int corner)
{
    const auto row = [&](int y) { return inkIn(shape, {corner, y, part.width - 2 * corner, 1}); };
    const auto column = [&](int x) { return inkIn(shape, {x, corner, 1, part.height - 2 * corner}); };
    const auto hasSide = [](int outer, int inner, int length) { return std::max(outer, inner) >= length; };
    return hasSide(row(0), row(1), part.width - 2 * corner)
        && hasSide(row(part.height - 1), row(part.height - 2), part.width - 2 * corner)
        && hasSide(column(0), column(1), part.height - 2 * corner)
        && hasSide(column(part.width - 1), column(part.width - 2), part.height - 2 * corner);
}

bool holdsLetters(const PixelRect& part, const std::vector<PixelRect>& parts, int letterHeight)
{
    return std::any_of(parts.begin(), parts.end(),
        [&](const PixelRect& other) { return 2 * other.height > letterHeight && contains(part, other); });
}

// A button, a field with or without something in it, a check box.
bool isFrame(const PixelRect& part, const std::vector<PixelRect>& parts, Pix* shape, int letterHeight)
{
    const int side = std::min(part.width, part.height);
    if (side <= letterHeight || !hasFourSides(part, shape, std::min(side / 3, letterHeight)))
        return false;
    return part.width > 4 * part.height || holdsLetters(part, parts, letterHeight)
        || (hasFourSides(part, shape, side / 8) && !hasNeighbour(part, parts, letterHeight));
}

// Whether a part of the ink is no letter: too large, drawn around letters, or a filled shape as of a switch.
bool isGraphic(const PixelRect& part, const std::vector<PixelRect>& parts, Pix* shape, int letterHeight)
{
    const bool isFilled = part.height > letterHeight && 2 * part.width >= 3 * part.height
        && 10 * inkIn(shape, {0, 0, part.width, part.height}) >= 7 * part.width * part.height;
    return part.height > pictureHeight * letterHeight || part.width > 2 * pictureHeight * letterHeight
        || part.height > highestLetter || isFilled
        || (2 * part.height > 3 * letterHeight && holdsLetters(part, parts, letterHeight));
}

// Takes away what is drawn around buttons, fields and pictures, and check boxes. Returns their number.
std::size_t takeFrames(Pix* pixels, Pix* ink, const InkParts& parts, int letterHeight)
{
    std::size_t taken = 0;
    for (std::size_t index = 0; index < parts.bounds.size(); ++index) {
        const PixelRect& part = parts.bounds[index];
        const PixHandle shape = parts.shape(index);
        if (!isFrame(part, parts.bounds, shape.get(), letterHeight))
            continue;
        ++taken;
        pixSetMaskedGeneral(pixels, shape.get(), white, part.x, part.y);
        pixRasterop(
            ink, part.x, part.y, part.width, part.height, PIX_DST & PIX_NOT(PIX_SRC), shape.get(), 0, 0);
    }
    return taken;
}

} // namespace

TextGlyphs takeGlyphs(Pix* pixels)
{
    TextGlyphs glyphs;
    const PixHandle ink = owned(pixThresholdToBinary(pixels, inkBelow));
    int height = 0;
    {
        const InkParts parts(ink.get());
        height = middleHeight(parts.bounds);
        if (height == 0)
            return glyphs;
        glyphs.graphics = takeFrames(pixels, ink.get(), parts, height);
    }

    const int thickest = std::max(2, height / 3);
    glyphs.rules = takeRules(
        pixels, ink.get(), std::max(24, uprightRuleLength * height), thickest, Direction::upright);
    auto rules = takeRules(pixels, ink.get(), std::max(40, ruleLength * height), thickest, Direction::along);
    rules.insert(rules.end(), glyphs.rules.begin(), glyphs.rules.end());
    glyphs.graphics += rules.size();

    const InkParts parts(ink.get());
    glyphs.letterHeight = middleHeight(parts.bounds);
    for (std::size_t index = 0; index < parts.bounds.size(); ++index) {
        const PixelRect& part = parts.bounds[index];
        if (!isGraphic(part, parts.bounds, parts.shape(index).get(), glyphs.letterHeight)
            && !isRemnant(part, parts.bounds, rules, glyphs.letterHeight)) {
            const int lines = isOfTwoLines(part, parts.bounds, glyphs.letterHeight) ? 2 : 1;
            for (int line = 0; line < lines; ++line)
                glyphs.bounds.push_back(
                    {part.x, part.y + line * part.height / lines, part.width, part.height / lines});
            continue;
        }
        ++glyphs.graphics;
        pixSetMaskedGeneral(pixels, parts.shape(index).get(), white, part.x, part.y);
    }
    return glyphs;
}

} // namespace glimto
