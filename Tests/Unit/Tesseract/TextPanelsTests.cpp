#include "Backends/Tesseract/TextPanels.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace glimto {
namespace {

using testing::ElementsAre;

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

TEST(TextPanelsTests, SmallSurfaceBelongsToThePanelAroundIt)
{
    GrayPicture picture(400, 300);
    picture.values.assign(picture.values.size(), 250);
    FlatZones zones{{{{0, 0, 400, 300}, 118'000}, {{50, 50, 80, 20}, 1600}}, {}, picture.values};
    zones.zoneOfPixel.assign(picture.values.size(), 0);
    for (int y = 50; y < 70; ++y) {
        for (int x = 50; x < 130; ++x)
            zones.zoneOfPixel[picture.place(x, y)] = 1;
    }
    const TextPanels panels = findTextPanels(picture, zones, 10);
    EXPECT_THAT(panels.bounds, ElementsAre(PixelRect{0, 0, 400, 300}));
    EXPECT_EQ(panels.panelOfPixel[picture.place(60, 60)], 0);
}

TEST(TextPanelsTests, TooManyPanelsAreTakenAsOne)
{
    GrayPicture picture(400, 300);
    FlatZones zones{{{{0, 0, 400, 150}, 60'000}, {{0, 150, 400, 150}, 60'000}}, {}, picture.values};
    zones.zoneOfPixel.assign(picture.values.size(), 0);
    std::fill(zones.zoneOfPixel.begin() + 60'000, zones.zoneOfPixel.end(), 1);
    EXPECT_EQ(findTextPanels(picture, zones, 2).bounds.size(), 2U);
    EXPECT_EQ(findTextPanels(picture, zones, 1).bounds.size(), 1U);
}

} // namespace
} // namespace glimto
