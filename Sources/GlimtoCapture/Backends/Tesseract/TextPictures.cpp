#include "Backends/Tesseract/TextPictures.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <utility>
#include <vector>

#include "Backends/Tesseract/FlatZones.h"
#include "Backends/Tesseract/ReadingOrder.h"
#include "Backends/Tesseract/TextGlyphs.h"
#include "Backends/Tesseract/TextPanels.h"

namespace glimto {

namespace {

constexpr int white = 255;

// BT.601 in 256ths.
l_uint8 luma(const std::uint8_t* pixel)
{
    return static_cast<l_uint8>((29 * pixel[0] + 150 * pixel[1] + 77 * pixel[2]) >> 8);
}

// What differs from white by more than noise does.
PixHandle inkOf(Pix* contrast)
{
    constexpr int faintest = 16; // gray values
    return owned(pixInvert(nullptr, owned(pixThresholdToBinary(contrast, faintest)).get()));
}

// How much the picture differs from its surfaces. Where two of them meet, all between their grays is the
// smooth edge of one of them, unless it hangs together with what stands on it, as letters that touch it.
PixHandle contrastWith(Pix* background, Pix* picture)
{
    constexpr int edge = 3; // pixels
    const PixHandle darkest = owned(pixErodeGray(background, edge, edge));
    const PixHandle lightest = owned(pixDilateGray(background, edge, edge));
    PixHandle result = owned(pixSubtractGray(nullptr, picture, lightest.get()));
    pixAddGray(result.get(), result.get(), owned(pixSubtractGray(nullptr, darkest.get(), picture)).get());

    const PixHandle withEdges = owned(pixAbsDifference(picture, background));
    const PixHandle letters
        = owned(pixSeedfillBinary(nullptr, inkOf(result.get()).get(), inkOf(withEdges.get()).get(), 8));
    pixCombineMasked(result.get(), withEdges.get(), letters.get());
    return result;
}

// Black where the picture differs most from its surfaces, white where it does not.
PixHandle blackOnWhite(Pix* picture, Pix* background)
{
    PixHandle result = contrastWith(background, picture);
    // Below the least contrast it is noise and is not made stronger.
    constexpr int beside = 31; // pixels
    constexpr int above = 15; // so that no line is compared with the next
    constexpr int leastContrast = 40; // gray values
    const PixHandle strongest = owned(pixDilateGray(result.get(), beside, above));
    for (int y = 0; y < pixGetHeight(picture); ++y) {
        l_uint32* row = pixGetData(result.get()) + std::ptrdiff_t{y} * pixGetWpl(result.get());
        const l_uint32* most = pixGetData(strongest.get()) + std::ptrdiff_t{y} * pixGetWpl(strongest.get());
        for (int x = 0; x < pixGetWidth(picture); ++x) {
            const int contrast = std::max<int>(leastContrast, GET_DATA_BYTE(most, x));
            SET_DATA_BYTE(row, x, static_cast<l_uint8>(white - GET_DATA_BYTE(row, x) * white / contrast));
        }
    }
    return result;
}

} // namespace

PixHandle grayPicture(const PixelBuffer& pixels, std::size_t mostPixels)
{
    PixHandle gray = owned(pixCreate(pixels.width, pixels.height, 8));
    for (int y = 0; y < pixels.height; ++y) {
        const std::uint8_t* pixel = pixels.bytes + static_cast<std::size_t>(y) * pixels.bytesPerRow;
        l_uint32* row = pixGetData(gray.get()) + std::ptrdiff_t{y} * pixGetWpl(gray.get());
        for (int x = 0; x < pixels.width; ++x, pixel += 4)
            SET_DATA_BYTE(row, x, luma(pixel));
    }
    const auto count = [&] { return std::int64_t{pixGetWidth(gray.get())} * pixGetHeight(gray.get()); };
    while (count() > static_cast<std::int64_t>(mostPixels))
        gray = owned(pixScaleAreaMap2(gray.get()));
    return gray;
}

std::optional<TextScreen> textScreen(Pix* picture)
{
    const auto zones = findFlatZones(picture);
    if (!zones)
        return std::nullopt;
    TextScreen screen{blackOnWhite(picture, zones->background.get()), {}, 0};
    const TextGlyphs glyphs = takeGlyphs(screen.pixels.get());
    screen.graphics = glyphs.graphics;
    const auto words = findWords(glyphs.bounds, glyphs.letterHeight);
    for (const auto& panel : wordsByPanel(*zones, words, glyphs.letterHeight)) {
        auto rows = rowsInReadingOrder(panel, glyphs.rules, glyphs.letterHeight);
        std::move(rows.begin(), rows.end(), std::back_inserter(screen.rows));
    }
    return screen;
}

PixHandle plainPicture(Pix* picture)
{
    l_float32 mean = 0;
    pixGetAverageMasked(picture, nullptr, 0, 0, 1, L_MEAN_ABSVAL, &mean);
    return owned(mean < white / 2 ? pixInvert(nullptr, picture) : pixCopy(nullptr, picture));
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
        const PixelRect area = grown(row.words[index], edge);
        pixRasterop(result.get(), places[index] - edge, margin + area.y - row.top, area.width, area.height,
            PIX_SRC & PIX_DST, pixels, area.x, area.y);
    }
    constexpr int wellRead = 24; // pixels
    return height >= wellRead ? std::move(result) : owned(pixScaleGrayLI(result.get(), 2, 2));
}

} // namespace glimto
