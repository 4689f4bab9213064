#include "Platform/CoverageMask.h"

#include <vector>

#include <gtest/gtest.h>

namespace glimto {
namespace {

constexpr std::uint8_t full = 255;

TEST(CoverageMaskTests, PaintsInsideOfTheCanvasOnly)
{
    // One pixel more on each side, which must stay as it is.
    std::vector<std::uint8_t> bytes(4 * 4 * 4, 7);
    const PixelCanvas canvas = {2, 2, 16, bytes.data() + 16 + 4, nullptr};
    const std::vector<std::uint8_t> covered(100, full);
    CoverageMask::copied({-4, -4, 10, 10}, covered.data(), 10).paint(canvas, 1, 1);
    for (std::size_t pixel = 0; pixel < 16; ++pixel) {
        const bool isInside = pixel / 4 >= 1 && pixel / 4 <= 2 && pixel % 4 >= 1 && pixel % 4 <= 2;
        EXPECT_EQ(bytes[4 * pixel], isInside ? 255 : 7) << pixel;
    }
}

TEST(CoverageMaskTests, MixesByCoverageAndAlpha)
{
    std::vector<std::uint8_t> bytes = {100, 0, 200, 9};
    const std::uint8_t half = 128;
    CoverageMask::copied({0, 0, 1, 1}, &half, 1).paint({1, 1, 4, bytes.data(), nullptr}, 1, 0.5);
    EXPECT_EQ(bytes, (std::vector<std::uint8_t>{139, 64, 214, 9}));
}

TEST(CoverageMaskTests, ABlurKeepsTheSumAndTheMiddle)
{
    std::vector<std::uint8_t> covered(81, 0);
    for (const std::size_t at : {30, 31, 32, 39, 40, 41, 48, 49, 50})
        covered[at] = full;
    const auto mask = CoverageMask::copied({10, 20, 9, 9}, covered.data(), 9).blurred(1);
    const auto& rect = mask.rect();
    EXPECT_EQ(rect, (PixelRect{8, 18, 13, 13}));
    double sum = 0;
    for (int row = 0; row < rect.height; ++row) {
        for (int column = 0; column < rect.width; ++column) {
            sum += mask.at(column, row);
            EXPECT_EQ(mask.at(column, row), mask.at(rect.width - 1 - column, row));
            EXPECT_EQ(mask.at(column, row), mask.at(column, rect.height - 1 - row));
        }
    }
    EXPECT_NEAR(sum, 9 * 255, 12);
    EXPECT_GT(mask.at(6, 6), mask.at(5, 5));
    EXPECT_GT(mask.at(5, 5), mask.at(4, 4));
    EXPECT_GT(mask.at(4, 4), 0);
}

TEST(CoverageMaskTests, NoRadiusIsNoBlur)
{
    const std::uint8_t covered = 33;
    const auto mask = CoverageMask::copied({5, 6, 1, 1}, &covered, 1).blurred(0);
    EXPECT_EQ(mask.rect(), (PixelRect{5, 6, 1, 1}));
    EXPECT_EQ(mask.at(0, 0), 33);
}

TEST(CoverageMaskTests, CanBeMoved)
{
    const std::vector<std::uint8_t> covered = {1, 2};
    const auto mask = CoverageMask::copied({5, 6, 2, 1}, covered.data(), 2).moved(3, -7);
    EXPECT_EQ(mask.rect(), (PixelRect{8, -1, 2, 1}));
    EXPECT_EQ(std::vector<std::uint8_t>(mask.values().begin(), mask.values().end()), covered);
}

} // namespace
} // namespace glimto
