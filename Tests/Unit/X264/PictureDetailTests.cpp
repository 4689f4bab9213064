#include "Backends/X264/PictureDetail.h"

#include <vector>

#include <gtest/gtest.h>

namespace glimto {
namespace {

constexpr int width = 64;
constexpr int height = 48;

// The detail of a gray picture with these levels.
template <typename Level> double detailOfPicture(Level level)
{
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(width) * height * 4);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const auto at = (static_cast<std::size_t>(y) * width + static_cast<std::size_t>(x)) * 4;
            std::fill_n(
                bytes.begin() + static_cast<std::ptrdiff_t>(at), 4, static_cast<std::uint8_t>(level(x, y)));
        }
    }
    I420Picture picture(width, height);
    const PixelBuffer pixels = {width, height, std::size_t{width} * 4, bytes.data(), nullptr};
    picture.update(pixels, std::vector<PixelRect>{{0, 0, width, height}});
    return detailOf(picture);
}

TEST(PictureDetailTests, FlatPictureHasNone)
{
    EXPECT_EQ(detailOfPicture([](int, int) { return 100; }), 0);
}

TEST(PictureDetailTests, GrainHasMoreThanLinesAndLinesMoreThanAGradient)
{
    const double grain = detailOfPicture([](int x, int y) { return (x * 73 + y * 151 + x * y * 31) % 256; });
    const double lines = detailOfPicture([](int x, int) { return x % 8 == 0 ? 0 : 255; });
    const double gradient = detailOfPicture([](int x, int y) { return x + y; });
    EXPECT_GT(grain, 1.5 * lines);
    EXPECT_GT(lines, 5 * gradient);
}

TEST(PictureDetailTests, SmallestPictureIsLookedAt)
{
    I420Picture picture(2, 2);
    EXPECT_EQ(detailOf(picture), 0);
}

} // namespace
} // namespace glimto
