#include "Content/RegionPlacement.h"

#include <gtest/gtest.h>

#include "ContentBuilders.h"
#include "Support/Errors.h"

namespace glimto {
namespace {

class DisplayContainingRegionTests : public testing::Test {
protected:
    std::uint32_t displayHolding(const CaptureRegion& region) const
    {
        return displayContainingRegion(region, displays).displayID;
    }

    std::string refusalOf(const CaptureRegion& region) const
    {
        return messageOf<CLIError>([&] { displayHolding(region); });
    }

    std::vector<Display> displays = twoDisplays();
};

TEST_F(DisplayContainingRegionTests, RegionInsideOneDisplayResolvesToIt)
{
    EXPECT_EQ(displayHolding({10, 20, 300, 200}), 71U);
    EXPECT_EQ(displayHolding({1920, 0, 1280, 1024}), 72U);
}

TEST_F(DisplayContainingRegionTests, DisplayLeftOfTheOriginCountsAsWell)
{
    displays.push_back(displayAt(73, {-800, -600, 800, 600}));
    EXPECT_EQ(displayHolding({-100, -100, 50, 50}), 73U);
}

TEST_F(DisplayContainingRegionTests, EdgesMayLieATrifleOutside)
{
    EXPECT_EQ(displayHolding({-0.0005, 10, 100, 100}), 71U);
    EXPECT_EQ(displayHolding({10, -0.0005, 100, 100}), 71U);
    EXPECT_EQ(displayHolding({10, 980.0005, 100, 100}), 71U);
    EXPECT_EQ(displayHolding({3100.0005, 10, 100, 100}), 72U);
}

TEST_F(DisplayContainingRegionTests, EdgesFurtherOutsideAreRefused)
{
    const std::string refusal
        = "Selected region extends outside display 0. Capture regions must fit within a single "
          "display and are not clipped.";
    EXPECT_EQ(refusalOf({-0.002, 10, 100, 100}), refusal);
    EXPECT_EQ(refusalOf({10, -0.002, 100, 100}), refusal);
    EXPECT_EQ(refusalOf({10, 980.002, 100, 100}), refusal);
}

TEST_F(DisplayContainingRegionTests, RefusalNamesTheIndexOfTheDisplay)
{
    EXPECT_EQ(refusalOf({3100.002, 10, 100, 100}),
        "Selected region extends outside display 1. Capture regions must fit within a single display and are "
        "not "
        "clipped.");
}

TEST_F(DisplayContainingRegionTests, SliverOfASecondDisplayDoesNotCount)
{
    // 100 points high and 0.000005 wide: 0.0005 square points of the second display.
    EXPECT_EQ(displayHolding({1820.000005, 10, 100, 100}), 71U);
    // The same area, with an edge too far outside the first display.
    EXPECT_EQ(refusalOf({1820.005, 10, 100, 0.1}),
        "Selected region extends outside display 0. Capture regions must fit within a single display and are "
        "not "
        "clipped.");
}

TEST_F(DisplayContainingRegionTests, SeveralDisplaysAreRefused)
{
    EXPECT_EQ(refusalOf({1900, 10, 100, 100}),
        "Selected region spans multiple displays. Capture regions must fit within a single display.");
}

TEST_F(DisplayContainingRegionTests, DisplayThatHoldsAllGoesBeforeOneThatOverlaps)
{
    displays = {displayAt(71, {0, 0, 100, 100}), displayAt(72, {50, 0, 500, 500})};
    EXPECT_EQ(displayHolding({60, 10, 200, 50}), 72U);
}

TEST_F(DisplayContainingRegionTests, FirstOfMirroredDisplaysIsTaken)
{
    displays = {displayAt(71, {0, 0, 100, 100}), displayAt(72, {0, 0, 100, 100})};
    EXPECT_EQ(displayHolding({10, 10, 20, 20}), 71U);
}

TEST_F(DisplayContainingRegionTests, RegionBesideAllDisplaysIsRefused)
{
    const std::string refusal = "Selected region did not overlap a capturable display.";
    EXPECT_EQ(refusalOf({5000, 0, 100, 100}), refusal);
    EXPECT_EQ(refusalOf({0, 1080, 100, 100}), refusal);
    EXPECT_EQ(refusalOf({10, 10, 0.01, 0.01}), refusal);
}

TEST_F(DisplayContainingRegionTests, WithoutDisplaysEveryRegionIsRefused)
{
    displays.clear();
    EXPECT_EQ(refusalOf({0, 0, 100, 100}), "Selected region did not overlap a capturable display.");
}

TEST(DisplayContainingLargestIntersectionTests, LargestCommonAreaWins)
{
    const auto displays = twoDisplays();
    EXPECT_EQ(displayContainingLargestIntersection({1900, 0, 100, 100}, displays), &displays[1]);
    EXPECT_EQ(displayContainingLargestIntersection({1840, 0, 100, 100}, displays), &displays[0]);
}

TEST(DisplayContainingLargestIntersectionTests, FirstOfEqualAreasWins)
{
    const auto displays = twoDisplays();
    EXPECT_EQ(displayContainingLargestIntersection({1870, 0, 100, 100}, displays), &displays[0]);
}

TEST(DisplayContainingLargestIntersectionTests, WithoutCommonAreaThereIsNone)
{
    const auto displays = twoDisplays();
    EXPECT_EQ(displayContainingLargestIntersection({-500, 0, 100, 100}, displays), nullptr);
    EXPECT_EQ(displayContainingLargestIntersection({10, 10, 0, 100}, displays), nullptr);
    EXPECT_EQ(displayContainingLargestIntersection({10, 10, 10, 10}, {}), nullptr);
}

} // namespace
} // namespace glimto
