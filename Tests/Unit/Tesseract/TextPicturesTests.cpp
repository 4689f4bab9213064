#include "Backends/Tesseract/TextPictures.h"

#include <gtest/gtest.h>

#include "Unit/Tesseract/DrawnText.h"

namespace glimto {
namespace {

constexpr int white = 255;

// A light page with a dark band from row 40 to row 59.
class TextPicturesTests : public testing::Test {
protected:
    TextPicturesTests()
    {
        fill({0, 0, 300, 100}, 250);
        fill({0, 40, 300, 20}, 50);
    }

    void fill(const PixelRect& rect, int value)
    {
        for (int y = rect.y; y < rect.y + rect.height; ++y) {
            for (int x = rect.x; x < rect.x + rect.width; ++x)
                pixSetPixel(page.get(), x, y, static_cast<l_uint32>(value));
        }
    }

    int readValueAt(int x, int y) const
    {
        const auto screen = textScreen(page.get());
        return screen ? valueAt(screen->pixels.get(), x, y) : -1;
    }

    PixHandle page = owned(pixCreate(300, 100, 8));
};

TEST_F(TextPicturesTests, LettersOfAnyPolarityBecomeBlack)
{
    fill({20, 10, 3, 12}, 20);
    fill({20, 44, 3, 12}, 230);
    EXPECT_LT(readValueAt(21, 15), 20);
    EXPECT_LT(readValueAt(21, 50), 64);
    EXPECT_EQ(readValueAt(100, 15), white);
    EXPECT_EQ(readValueAt(100, 50), white);
}

// As coloured words between white ones on a dark screen.
TEST_F(TextPicturesTests, FaintStrokeBelowAStrongOneIsInk)
{
    fill({0, 0, 300, 100}, 10);
    fill({20, 20, 60, 3}, 250);
    fill({20, 45, 60, 3}, 80);
    EXPECT_LT(readValueAt(50, 46), 20);
}

TEST_F(TextPicturesTests, SmoothEdgeOfASurfaceIsNoInk)
{
    fill({0, 39, 300, 1}, 150);
    fill({0, 60, 4, 1}, 120);
    EXPECT_EQ(readValueAt(100, 39), white);
    EXPECT_EQ(readValueAt(2, 60), white);
}

TEST_F(TextPicturesTests, LetterThatTouchesAPageOfItsOwnColourIsKept)
{
    fill({19, 46, 5, 14}, 150);
    fill({20, 46, 3, 14}, 250);
    EXPECT_LT(readValueAt(21, 56), 20);
}

TEST_F(TextPicturesTests, HugePictureIsHalvedUntilItIsSmallEnough)
{
    const DrawnText drawn(400, 200, {1, 1, 1});
    const PixHandle gray = grayPicture(*drawn.pixels(), 10'000);
    EXPECT_EQ(pixGetWidth(gray.get()), 100);
    EXPECT_EQ(pixGetHeight(gray.get()), 50);
    EXPECT_EQ(valueAt(gray.get(), 50, 25), white);
}

} // namespace
} // namespace glimto
