#include "Backends/Tesseract/TextPictures.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <numeric>
#include <utility>
#include <vector>

#include "Backends/Tesseract/FlatZones.h"
#include "Backends/Tesseract/ReadingOrder.h"
#include "Backends/Tesseract/TextGlyphs.h"
#include "Backends/Tesseract/TextPanels.h"

namespace glimto {

namespace {

constexpr std::uint8_t white = 255;
// Contrast is measured in tiles with their neighbours; below this it is noise and is not made stronger.
constexpr int contrastTile = 32; // pixels
constexpr int leastContrast = 40; // gray values
constexpr std::uint8_t inkBelow = 128;

// The strongest contrast in and around each tile.
std::vector<int> tileContrasts(const GrayPicture& contrast, int columns, int rows)
{
    std::vector<int> strongest(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows));
    const auto tile = [columns](int column, int row) {
        return static_cast<std::size_t>(row) * static_cast<std::size_t>(columns)
            + static_cast<std::size_t>(column);
    };
    for (int y = 0; y < contrast.height; ++y) {
        for (int x = 0; x < contrast.width; ++x) {
            int& value = strongest[tile(x / contrastTile, y / contrastTile)];
            value = std::max<int>(value, contrast.values[contrast.place(x, y)]);
        }
    }
    std::vector<int> around(strongest.size());
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns; ++column) {
            int value = leastContrast;
            for (int r = std::max(0, row - 1); r <= std::min(rows - 1, row + 1); ++r) {
                for (int c = std::max(0, column - 1); c <= std::min(columns - 1, column + 1); ++c)
                    value = std::max(value, strongest[tile(c, r)]);
            }
            around[tile(column, row)] = value;
        }
    }
    return around;
}

// Black where the picture differs most from its surfaces, white where it does not.
GrayPicture blackOnWhite(const GrayPicture& picture, const std::vector<std::uint8_t>& background)
{
    GrayPicture result(picture.width, picture.height);
    for (std::size_t place = 0; place < result.values.size(); ++place)
        result.values[place] = static_cast<std::uint8_t>(std::abs(picture.values[place] - background[place]));

    const int columns = (picture.width + contrastTile - 1) / contrastTile;
    const int rows = (picture.height + contrastTile - 1) / contrastTile;
    const std::vector<int> contrasts = tileContrasts(result, columns, rows);
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            std::uint8_t& value = result.values[result.place(x, y)];
            const int strongest
                = contrasts[static_cast<std::size_t>(y / contrastTile) * static_cast<std::size_t>(columns)
                    + static_cast<std::size_t>(x / contrastTile)];
            value = static_cast<std::uint8_t>(white - value * white / strongest);
        }
    }
    return result;
}

// The picture, turned light when it is dark on the whole.
GrayPicture lightOnTheWhole(GrayPicture picture)
{
    const std::uint64_t sum = std::accumulate(picture.values.begin(), picture.values.end(), std::uint64_t{0});
    if (sum / picture.values.size() < inkBelow) {
        for (auto& value : picture.values)
            value = static_cast<std::uint8_t>(white - value);
    }
    return picture;
}

PixHandle pixelsOf(const GrayPicture& picture)
{
    PixHandle pixels = owned(pixCreate(picture.width, picture.height, 8));
    const int wordsPerRow = pixGetWpl(pixels.get());
    l_uint32* row = pixGetData(pixels.get());
    for (int y = 0; y < picture.height; ++y, row += wordsPerRow) {
        for (int x = 0; x < picture.width; ++x)
            SET_DATA_BYTE(row, x, picture.values[picture.place(x, y)]);
    }
    return pixels;
}

// A part of the picture, its darkest ink made black.
PixHandle strongest(Pix* pixels, const PixelRect& area)
{
    PixHandle part = owned(pixCreate(area.width, area.height, 8));
    pixSetAll(part.get());
    pixRasterop(part.get(), 0, 0, area.width, area.height, PIX_SRC, pixels, area.x, area.y);
    l_int32 darkest = 0;
    pixGetExtremeValue(part.get(), 1, L_SELECT_MIN, nullptr, nullptr, nullptr, &darkest);
    if (darkest > 0)
        pixGammaTRC(part.get(), part.get(), 1.0F, darkest, white);
    return part;
}

} // namespace

std::optional<TextScreen> textScreen(const GrayPicture& picture)
{
    const auto zones = findFlatZones(picture);
    if (!zones)
        return std::nullopt;
    TextScreen screen{pixelsOf(blackOnWhite(picture, zones->background)), {}, 0};
    const TextGlyphs glyphs = takeGlyphs(screen.pixels.get());
    screen.graphics = glyphs.graphics;
    const auto words = findWords(glyphs.bounds, glyphs.letterHeight);
    for (const auto& panel : wordsByPanel(picture, *zones, words, glyphs.letterHeight)) {
        auto rows = rowsInReadingOrder(panel, glyphs.rules, glyphs.letterHeight);
        std::move(rows.begin(), rows.end(), std::back_inserter(screen.rows));
    }
    return screen;
}

PixHandle plainPicture(const GrayPicture& picture)
{
    return pixelsOf(lightOnTheWhole(picture));
}

PixHandle rowPicture(Pix* pixels, const TextRow& row)
{
    constexpr int edge = 1; // the faint edges of letters belong to them
    const int height = row.bottom - row.top;
    const int margin = std::max(4, height / 3);
    const int widestGap = height; // wider white makes Tesseract overlook that between words

    std::vector<int> places;
    int reached = row.words.front().x; // in the picture
    int shift = margin - reached;
    for (const auto& word : row.words) {
        shift -= std::max(0, word.x - reached - widestGap);
        places.push_back(word.x + shift);
        reached = std::max(reached, word.x + word.width);
    }
    PixHandle result = owned(pixCreate(reached + shift + margin, height + 2 * margin, 8));
    pixSetAll(result.get());
    for (std::size_t index = 0; index < row.words.size(); ++index) {
        const PixelRect& word = row.words[index];
        const PixelRect area{word.x - edge, word.y - edge, word.width + 2 * edge, word.height + 2 * edge};
        pixRasterop(result.get(), places[index] - edge, margin + area.y - row.top, area.width, area.height,
            PIX_SRC & PIX_DST, strongest(pixels, area).get(), 0, 0);
    }
    constexpr int wellRead = 24; // pixels
    return height >= wellRead ? std::move(result) : owned(pixScaleGrayLI(result.get(), 2, 2));
}

} // namespace glimto
