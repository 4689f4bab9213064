#include "Backends/Portal/PortalFacts.h"

#include <gtest/gtest.h>

#include "Support/Errors.h"

namespace glimto {
namespace {

Display leftDisplay()
{
    return {.displayID = 1,
        .frame = {0, 0, 1920, 1080},
        .width = 1920,
        .height = 1080,
        .pixelsWide = 1920,
        .pixelsHigh = 1080};
}

CaptureRequest displayRequest(const Display& display = leftDisplay())
{
    CaptureRequest request;
    request.filter.content = DisplayContentFilter{display, {}, {}};
    request.configuration.width = display.width;
    request.configuration.height = display.height;
    request.expected.description = "screen:0";
    return request;
}

CaptureRequest regionRequest(const Rect& region)
{
    auto request = displayRequest();
    request.configuration.sourceRect = region;
    request.configuration.width = static_cast<int>(region.width);
    request.configuration.height = static_cast<int>(region.height);
    request.expected.description = "region";
    return request;
}

PortalStream stream(const Point& position, const Point& size)
{
    PortalStream told;
    told.position = position;
    told.size = size;
    return told;
}

TEST(PortalFactsTests, TheDisplayThatWasMeantKeepsItsName)
{
    const auto cut = portalCut(displayRequest(), stream({0, 0}, {1920, 1080}), 1920, 1080);

    EXPECT_EQ(cut.facts.description, "screen:0");
    EXPECT_EQ(cut.facts.globalFrame, (Rect{0, 0, 1920, 1080}));
    EXPECT_EQ(cut.framing.part, std::nullopt);
}

TEST(PortalFactsTests, AnotherDisplayIsNamedByItsPlace)
{
    const auto cut = portalCut(displayRequest(), stream({1920, 0}, {1280, 1024}), 1280, 1024);

    EXPECT_EQ(cut.facts.description, "screen at 1920,0");
    EXPECT_EQ(cut.facts.globalFrame, (Rect{1920, 0, 1280, 1024}));
    EXPECT_EQ(cut.facts.width, 1280);
}

TEST(PortalFactsTests, ADisplayIsRecordedInItsPoints)
{
    const auto cut = portalCut(displayRequest(), stream({0, 0}, {1920, 1080}), 3840, 2160);

    EXPECT_EQ(cut.facts.width, 1920);
    EXPECT_EQ(cut.facts.height, 1080);
    EXPECT_EQ(cut.facts.pointScale, 2);
}

TEST(PortalFactsTests, ASizeThatDoesNotFitThePictureIsNoSize)
{
    const auto cut = portalCut(displayRequest(), stream({0, 0}, {3840, 2160}), 1920, 1080);

    EXPECT_EQ(cut.facts.width, 1920);
    EXPECT_EQ(cut.facts.pointScale, 1);
}

TEST(PortalFactsTests, APortalThatTellsNothingGivesThePicture)
{
    const auto cut = portalCut(displayRequest({.displayID = 1, .frame = {}}), {}, 800, 600);

    EXPECT_EQ(cut.facts.description, "screen:0");
    EXPECT_EQ(cut.facts.width, 800);
    EXPECT_EQ(cut.facts.height, 600);
}

TEST(PortalFactsTests, ARegionIsAPartOfThePickedScreen)
{
    const auto cut = portalCut(regionRequest({192, 108, 960, 540}), stream({0, 0}, {1920, 1080}), 3840, 2160);

    EXPECT_EQ(cut.facts.width, 960);
    EXPECT_EQ(cut.framing.part, (Rect{0.1, 0.1, 0.5, 0.5}));
}

TEST(PortalFactsTests, ARegionIsFoundOnAScreenThatHoldsItElsewhere)
{
    // The picked screen begins left of the one that was meant.
    const auto cut = portalCut(regionRequest({0, 0, 100, 100}), stream({-100, 0}, {2000, 1000}), 2000, 1000);

    EXPECT_EQ(cut.framing.part, (Rect{0.05, 0, 0.05, 0.1}));
}

TEST(PortalFactsTests, ARegionThatIsNotOnThePickedScreenIsRefused)
{
    EXPECT_THROW(portalCut(regionRequest({0, 0, 100, 100}), stream({1920, 0}, {1920, 1080}), 1920, 1080),
        PlatformError);
    EXPECT_THROW(portalCut(regionRequest({1900, 0, 100, 100}), {}, 1920, 1080), PlatformError);
}

TEST(PortalFactsTests, AWindowIsRecordedInItsPixels)
{
    CaptureRequest request;
    request.filter.content = WindowContentFilter{};
    request.expected.description = "window:7 window";

    const auto cut = portalCut(request, stream({0, 0}, {400, 300}), 800, 600);

    EXPECT_EQ(cut.facts.description, "window:7 window");
    EXPECT_EQ(cut.facts.width, 800);
    EXPECT_EQ(cut.facts.pointScale, 2);
}

TEST(PortalFactsTests, AStreamHasTwoPixelsAtLeast)
{
    const auto cut = portalCut(displayRequest({.displayID = 1, .frame = {}}), {}, 1, 1);

    EXPECT_EQ(cut.facts.width, 2);
    EXPECT_EQ(cut.framing.height, 2);
}

} // namespace
} // namespace glimto
