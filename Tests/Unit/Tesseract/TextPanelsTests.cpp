#include "Backends/Tesseract/TextPanels.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace glimto {
namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;

TEST(TextPanelsTests, BarComesBeforeListAndPageBelowIt)
{
    const PixelRect page{200, 40, 600, 560};
    const PixelRect bar{0, 0, 800, 40};
    const PixelRect list{0, 40, 200, 560};
    EXPECT_THAT(readingOrder({page, bar, list}), ElementsAre(1, 2, 0));
}

TEST(TextPanelsTests, ColumnOfPanelsIsReadToItsEndFirst)
{
    const PixelRect rightTop{400, 0, 400, 250};
    const PixelRect leftTop{0, 0, 400, 300};
    const PixelRect leftBottom{0, 300, 400, 300};
    const PixelRect rightBottom{400, 250, 400, 350};
    EXPECT_THAT(readingOrder({rightTop, leftTop, leftBottom, rightBottom}), ElementsAre(1, 2, 0, 3));
}

TEST(TextPanelsTests, WindowOverItsDesktopComesAfterIt)
{
    EXPECT_THAT(readingOrder({{100, 100, 300, 200}, {0, 0, 800, 600}}), ElementsAre(1, 0));
}

// A page of one colour, and surfaces on it.
class Screen {
public:
    Screen() { surface({0, 0, 600, 400}, 250); }

    void surface(const PixelRect& bounds, int gray)
    {
        for (int y = bounds.y; y < bounds.y + bounds.height; ++y) {
            for (int x = bounds.x; x < bounds.x + bounds.width; ++x)
                pixSetPixel(zones_.background.get(), x, y, static_cast<l_uint32>(gray));
        }
        zones_.zones.push_back({bounds, gray});
    }

    std::vector<std::vector<PixelRect>> panels(const std::vector<PixelRect>& words) const
    {
        return wordsByPanel(zones_, words, 10);
    }

private:
    FlatZones zones_{{}, owned(pixCreate(600, 400, 8))};
};

constexpr PixelRect onPage{20, 120, 40, 10};
constexpr PixelRect beside{520, 120, 40, 10};
constexpr PixelRect onSurface{220, 120, 40, 10};

TEST(TextPanelsTests, ButtonBelongsToThePageAroundIt)
{
    Screen screen;
    screen.surface({210, 110, 80, 30}, 200);
    EXPECT_THAT(screen.panels({onPage, onSurface}), ElementsAre(UnorderedElementsAre(onPage, onSurface)));
}

TEST(TextPanelsTests, WindowOverAPageIsReadByItself)
{
    Screen screen;
    screen.surface({200, 80, 300, 200}, 200);
    EXPECT_THAT(screen.panels({onPage, onSurface, beside}),
        ElementsAre(UnorderedElementsAre(onPage, beside), ElementsAre(onSurface)));
}

TEST(TextPanelsTests, ListBesideAPageWhoseEdgeTheListsColourGoesAroundComesFirst)
{
    Screen screen;
    screen.surface({200, 0, 390, 390}, 200);
    const PixelRect listed{20, 20, 40, 10};
    const PixelRect below{20, 60, 40, 10};
    EXPECT_THAT(screen.panels({onSurface, listed, below}),
        ElementsAre(UnorderedElementsAre(listed, below), ElementsAre(onSurface)));
}

TEST(TextPanelsTests, SelectionOverSeveralLinesBelongsToThem)
{
    Screen screen;
    screen.surface({200, 115, 250, 40}, 100);
    const PixelRect before{150, 120, 45, 10};
    const PixelRect selected{203, 120, 240, 10};
    const PixelRect below{203, 140, 240, 10};
    const PixelRect after{455, 140, 40, 10};
    EXPECT_THAT(screen.panels({before, selected, below, after}),
        ElementsAre(UnorderedElementsAre(before, selected, below, after)));
}

TEST(TextPanelsTests, SelectionOfWholeWordsOverTwoLinesBelongsToThem)
{
    Screen screen;
    screen.surface({200, 115, 250, 40}, 100);
    const PixelRect before{150, 120, 36, 10};
    const PixelRect selected{200, 120, 250, 10};
    const PixelRect below{200, 140, 250, 10};
    EXPECT_THAT(
        screen.panels({before, selected, below}), ElementsAre(UnorderedElementsAre(before, selected, below)));
}

TEST(TextPanelsTests, StripeWithoutTextBesideItBelongsToThePage)
{
    Screen screen;
    screen.surface({200, 80, 300, 200}, 200);
    const PixelRect above{20, 20, 40, 10};
    EXPECT_THAT(screen.panels({above, onSurface}), ElementsAre(UnorderedElementsAre(above, onSurface)));
}

TEST(TextPanelsTests, ReversedLinesWhoseNeighboursReachIntoTheirHeightBelongToThePage)
{
    Screen screen;
    screen.surface({10, 115, 400, 42}, 100);
    const PixelRect first{20, 120, 300, 10};
    const PixelRect second{20, 140, 300, 10};
    const PixelRect below{20, 155, 380, 10};
    const PixelRect belowAtTheRight{430, 155, 40, 10};
    EXPECT_THAT(screen.panels({first, second, below, belowAtTheRight}),
        ElementsAre(UnorderedElementsAre(first, second, below, belowAtTheRight)));
}

TEST(TextPanelsTests, CellsOfOneColourAreOnePanel)
{
    Screen screen;
    screen.surface({10, 80, 200, 100}, 200);
    screen.surface({212, 80, 200, 100}, 200);
    EXPECT_THAT(screen.panels({onPage, onSurface, beside}),
        ElementsAre(UnorderedElementsAre(onPage, onSurface), ElementsAre(beside)));
}

} // namespace
} // namespace glimto
