#include "Backends/Tesseract/TextPictures.h"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <numeric>
#include <optional>
#include <utility>
#include <vector>

#include <leptonica/allheaders.h>

#include "Backends/Tesseract/FlatZones.h"
#include "Backends/Tesseract/TextColumns.h"
#include "Backends/Tesseract/TextPanels.h"

namespace glimto {

namespace {

constexpr std::size_t mostPanels = 40;
constexpr std::uint8_t white = 255;
// Contrast is measured in tiles with their neighbours; below this it is noise and is not made stronger.
constexpr int contrastTile = 32; // pixels
constexpr int leastContrast = 40; // gray values
constexpr std::uint8_t inkBelow = 128;
constexpr int margin = 10; // pixels of white around the text

PixHandle owned(Pix* picture)
{
    if (!picture)
        throw std::bad_alloc();
    return PixHandle(picture);
}

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

// What belongs to the panel, white where its bounds hold others. Null when there is nothing on it.
PixHandle panelPixels(const GrayPicture& picture, const TextPanels& panels, std::size_t panel)
{
    const PixelRect bounds = panels.bounds[panel];
    PixHandle pixels = owned(pixCreate(bounds.width, bounds.height, 8));
    pixSetAll(pixels.get());
    bool hasInk = false;
    const int wordsPerRow = pixGetWpl(pixels.get());
    l_uint32* row = pixGetData(pixels.get());
    for (int y = bounds.y; y < bounds.y + bounds.height; ++y, row += wordsPerRow) {
        for (int x = bounds.x; x < bounds.x + bounds.width; ++x) {
            const std::size_t place = picture.place(x, y);
            if (panels.panelOfPixel[place] != static_cast<std::int32_t>(panel))
                continue;
            SET_DATA_BYTE(row, x - bounds.x, picture.values[place]);
            hasInk = hasInk || picture.values[place] < inkBelow;
        }
    }
    return hasInk ? std::move(pixels) : nullptr;
}

// The middle height of what is as high as letters may be, in pixels; absent when there is nothing.
std::optional<int> letterHeight(Pix* ink)
{
    const BoxaHandle boxes(pixConnCompBB(ink, 8));
    std::vector<int> heights;
    for (int index = 0; boxes && index < boxaGetCount(boxes.get()); ++index) {
        l_int32 width = 0;
        l_int32 height = 0;
        boxaGetBoxGeometry(boxes.get(), index, nullptr, nullptr, &width, &height);
        if (height >= 4 && height <= 80 && width <= 4 * height && height <= 8 * width)
            heights.push_back(height);
    }
    if (heights.empty())
        return std::nullopt;
    const auto middle = heights.begin() + static_cast<std::ptrdiff_t>(heights.size() / 2);
    std::nth_element(heights.begin(), middle, heights.end());
    return *middle;
}

// Letters of some 10 to 30 pixels read best.
double enlargement(int letterHeight)
{
    return letterHeight < 12 ? 2 : 1;
}

TextPicture enlarged(PixHandle pixels, double scale)
{
    constexpr int longestSide = 32'000; // pixels, which Tesseract counts in 16 bits
    const int side = std::max(pixGetWidth(pixels.get()), pixGetHeight(pixels.get()));
    if (scale == 1 || side * scale > longestSide)
        return {std::move(pixels), 1};
    const auto factor = static_cast<l_float32>(scale);
    return {owned(pixScaleGrayLI(pixels.get(), factor, factor)), scale};
}

// `area` of the picture, white all around.
PixHandle part(Pix* pixels, const PixelRect& area)
{
    PixHandle result = owned(pixCreate(area.width + 2 * margin, area.height + 2 * margin, 8));
    pixSetAll(result.get());
    pixRasterop(result.get(), margin, margin, area.width, area.height, PIX_SRC, pixels, area.x, area.y);
    return result;
}

void consumeColumns(Pix* pixels, const std::function<void(const TextPicture& picture)>& consume)
{
    const PixHandle ink = owned(pixThresholdToBinary(pixels, inkBelow));
    const auto height = letterHeight(ink.get());
    if (!height)
        return;
    // The faint edges of letters belong to them.
    constexpr int edge = 2;
    for (const auto& column : findTextColumns(ink.get(), *height)) {
        const PixelRect grown{
            column.x - edge, column.y - edge, column.width + 2 * edge, column.height + 2 * edge};
        const PixelRect area = intersection(grown, {0, 0, pixGetWidth(pixels), pixGetHeight(pixels)});
        consume(enlarged(part(pixels, area), enlargement(*height)));
    }
}

} // namespace

void forEachTextPicture(
    const GrayPicture& picture, const std::function<void(const TextPicture& picture)>& consume)
{
    const auto zones = findFlatZones(picture);
    const GrayPicture text = zones ? blackOnWhite(picture, zones->background) : lightOnTheWhole(picture);
    const TextPanels panels = zones ? findTextPanels(picture, *zones, mostPanels)
                                    : TextPanels{{{0, 0, picture.width, picture.height}},
                                        std::vector<std::int32_t>(picture.values.size())};
    for (std::size_t panel = 0; panel < panels.bounds.size(); ++panel) {
        if (const PixHandle pixels = panelPixels(text, panels, panel))
            consumeColumns(pixels.get(), consume);
    }
}

TextPicture sampleOf(const TextPicture& picture)
{
    constexpr int samplePixels = 400'000;
    constexpr int lowest = 100; // pixels
    const int width = pixGetWidth(picture.pixels.get());
    const int height = std::min(pixGetHeight(picture.pixels.get()), std::max(lowest, samplePixels / width));
    return {part(picture.pixels.get(), {0, 0, width, height}), picture.scale};
}

} // namespace glimto
