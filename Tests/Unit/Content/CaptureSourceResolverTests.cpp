#include "Content/CaptureSourceResolver.h"

#include <cmath>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Content/ScreenCapturePayloads.h"
#include "ContentBuilders.h"
#include "Fakes/FakeLineOutput.h"
#include "Fakes/FakeProcessEnvironment.h"
#include "Fakes/FakeScreenAccess.h"
#include "Lifecycle/GlimtoCaptureLifecycleError.h"
#include "Support/Errors.h"

namespace glimto {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class CaptureSourceResolverTests : public testing::Test {
protected:
    CaptureSourceResolverTests()
    {
        content.displays = twoDisplays();
        content.windows
            = {windowOf(1, desktopApplication), windowOf(2, desktopApplication), windowOf(7, editor)};
        content.applications = {desktopApplication, editor};
    }

    static const DisplayContentFilter& displayFilter(const PreparedCaptureSource& source)
    {
        return std::get<DisplayContentFilter>(source.filter.content);
    }

    static std::vector<std::uint32_t> exceptedIDs(const PreparedCaptureSource& source)
    {
        return windowIDs(displayFilter(source).exceptingWindows);
    }

    std::string windowDescription(std::optional<std::string> title)
    {
        content.windows[2].title = std::move(title);
        return resolver.windowSource(7, content).description;
    }

    FakeProcessEnvironment process;
    FakeScreenAccess screen;
    FakeLineOutput standardError;
    CaptureSourceResolver resolver{process, screen, standardError};
    ShareableContent content;
    RecordOptions options;
};

TEST_F(CaptureSourceResolverTests, DisplayUnderTheCursorIsTheOneTheSystemNames)
{
    screen.cursor = Point{2000, 50};
    screen.displayIDUnderPoint = 71;
    EXPECT_EQ(resolver.displayIndexUnderCursor(content), 0);
    EXPECT_EQ(screen.askedPoint, (Point{2000, 50}));
}

TEST_F(CaptureSourceResolverTests, FrameDecidesWhenTheSystemNamesNoDisplay)
{
    screen.cursor = Point{1920, 0};
    EXPECT_EQ(resolver.displayIndexUnderCursor(content), 1);
}

TEST_F(CaptureSourceResolverTests, FrameDecidesWhenTheSystemNamesADisplayOutsideTheContent)
{
    screen.cursor = Point{1919.5, 1079};
    screen.displayIDUnderPoint = 99;
    EXPECT_EQ(resolver.displayIndexUnderCursor(content), 0);
}

TEST_F(CaptureSourceResolverTests, UnknownCursorCountsAsTheOrigin)
{
    screen.cursor.reset();
    EXPECT_EQ(resolver.displayIndexUnderCursor(content), 0);
    EXPECT_EQ(screen.askedPoint, (Point{0, 0}));
}

TEST_F(CaptureSourceResolverTests, CursorBesideAllDisplaysIsAnError)
{
    screen.cursor = Point{3200, 10};
    EXPECT_EQ(messageOf<CLIError>([&] { resolver.displayIndexUnderCursor(content); }),
        "Could not resolve the display under the cursor. Run `glimto-capture sources` and retry with "
        "--display "
        "<index>.");
}

TEST_F(CaptureSourceResolverTests, DisplaySourceIsTheWholeDisplayInPoints)
{
    content.displays[1] = displayAt(72, {1920, 0, 1280, 1024}, 2);
    const auto source = resolver.displaySource(1, content, std::nullopt, {});
    EXPECT_EQ(displayFilter(source).display.displayID, 72U);
    EXPECT_EQ(source.width, 1280);
    EXPECT_EQ(source.height, 1024);
    EXPECT_EQ(source.description, "screen:1");
    EXPECT_EQ(source.sourceRect, std::nullopt);
}

TEST_F(CaptureSourceResolverTests, DisplaySourceHasAtLeastTwoPixelsEachWay)
{
    content.displays[0].width = 0;
    content.displays[0].height = 1;
    const auto source = resolver.displaySource(0, content, std::nullopt, {});
    EXPECT_EQ(source.width, 2);
    EXPECT_EQ(source.height, 2);
}

TEST_F(CaptureSourceResolverTests, DisplaySourceHidesOwnApplicationsButTheExceptedWindows)
{
    const auto source = resolver.displaySource(0, content, 7, {2});
    EXPECT_THAT(displayFilter(source).excludedApplications, ElementsAre(desktopApplication));
    EXPECT_THAT(exceptedIDs(source), ElementsAre(7U, 2U));
}

TEST_F(CaptureSourceResolverTests, DisplaySourceWithoutIncludedWindowsKeepsNoOwnWindow)
{
    EXPECT_THAT(exceptedIDs(resolver.displaySource(0, content, std::nullopt, {})), IsEmpty());
}

TEST_F(CaptureSourceResolverTests, DisplayPastTheEndIsAnError)
{
    EXPECT_EQ(messageOf<CLIError>([&] { resolver.displaySource(2, content, std::nullopt, {}); }),
        "No display at index 2. Run `glimto-capture sources`.");
}

TEST_F(CaptureSourceResolverTests, WithoutDisplaysTheFirstIsAnError)
{
    content.displays.clear();
    EXPECT_EQ(messageOf<CLIError>([&] { resolver.displaySource(0, content, std::nullopt, {}); }),
        "No display at index 0. Run `glimto-capture sources`.");
}

TEST_F(CaptureSourceResolverTests, RegionSourceLiesWithinItsDisplayInPixels)
{
    content.displays[1] = displayAt(72, {1920, 0, 1280, 1024}, 2);
    const auto source = resolver.regionSource({2000.25, 100, 300.25, 199.5}, content, std::nullopt, {});
    EXPECT_EQ(displayFilter(source).display.displayID, 72U);
    EXPECT_EQ(source.width, 601); // 600.5 rounds up
    EXPECT_EQ(source.height, 399);
    EXPECT_EQ(source.description, "region:300x200pt");
    EXPECT_EQ(source.sourceRect, (Rect{80.25, 100, 300.25, 199.5}));
}

TEST_F(CaptureSourceResolverTests, RegionSourceHasAtLeastTwoPixelsEachWay)
{
    const auto source = resolver.regionSource({10, 10, 0.4, 1}, content, std::nullopt, {});
    EXPECT_EQ(source.width, 2);
    EXPECT_EQ(source.height, 2);
    EXPECT_EQ(source.description, "region:0x1pt");
}

TEST_F(CaptureSourceResolverTests, RegionSourceHidesOwnApplicationsButTheExceptedWindows)
{
    const auto source = resolver.regionSource({10, 10, 50, 50}, content, 2, {1});
    EXPECT_THAT(displayFilter(source).excludedApplications, ElementsAre(desktopApplication));
    EXPECT_THAT(exceptedIDs(source), ElementsAre(2U, 1U));
}

TEST_F(CaptureSourceResolverTests, RegionSourceSpanningDisplaysIsAnError)
{
    EXPECT_EQ(messageOf<CLIError>([&] {
        resolver.regionSource({1900, 10, 100, 100}, content, std::nullopt, {});
    }),
        "Selected region spans multiple displays. Capture regions must fit within a single display.");
}

TEST_F(CaptureSourceResolverTests, WindowSourceIsTheWindowInPixelsOfItsDisplay)
{
    content.displays[1] = displayAt(72, {1920, 0, 1280, 1024}, 2);
    content.windows[2].frame = {1900, 0, 100.25, 50};
    const auto source = resolver.windowSource(7, content);
    EXPECT_EQ(std::get<WindowContentFilter>(source.filter.content).window.windowID, 7U);
    EXPECT_EQ(source.width, 201);
    EXPECT_EQ(source.height, 100);
    EXPECT_EQ(source.sourceRect, std::nullopt);
}

TEST_F(CaptureSourceResolverTests, WindowSourceBesideAllDisplaysHasScaleOne)
{
    content.displays = {displayAt(71, {0, 0, 1920, 1080}, 2)};
    content.windows[2].frame = {-500, 0, 100, 50};
    EXPECT_EQ(resolver.windowSource(7, content).width, 100);
}

TEST_F(CaptureSourceResolverTests, WindowSourceWithoutAUsableSizeHasTwoPixels)
{
    content.windows[2].frame = {0, 0, std::nan(""), 0};
    const auto source = resolver.windowSource(7, content);
    EXPECT_EQ(source.width, 2);
    EXPECT_EQ(source.height, 2);
}

TEST_F(CaptureSourceResolverTests, WindowIsDescribedByApplicationAndTrimmedTitle)
{
    EXPECT_EQ(windowDescription(" notes.txt\n"), "window:7 Editor notes.txt");
}

TEST_F(CaptureSourceResolverTests, BlankTitleAddsNothingToTheDescription)
{
    EXPECT_EQ(windowDescription("   "), "window:7 Editor");
    EXPECT_EQ(windowDescription(std::nullopt), "window:7 Editor");
}

TEST_F(CaptureSourceResolverTests, WindowWithoutOwnerIsDescribedAsWindow)
{
    content.windows[2].owningApplication.reset();
    EXPECT_EQ(windowDescription(std::nullopt), "window:7 window");
    EXPECT_EQ(windowDescription("Menu"), "window:7 window Menu");
}

TEST_F(CaptureSourceResolverTests, HiddenAndOwnWindowsCanBeCaptured)
{
    content.windows[0].isOnScreen = false;
    EXPECT_EQ(resolver.windowSource(1, content).description, "window:1 Glimto");
}

TEST_F(CaptureSourceResolverTests, UnknownWindowIsALifecycleErrorThatListsTheWindows)
{
    try {
        resolver.windowSource(12, content);
        FAIL() << "nothing was thrown";
    } catch (const GlimtoCaptureLifecycleError& error) {
        const std::string message = error.what();
        const std::string start
            = "No capturable ScreenCaptureKit window with id 12. Try selecting the window "
              "again.\nGLIMTO_CAPTURE_ERROR_JSON=";
        EXPECT_EQ(error.code(), "window_not_found");
        ASSERT_THAT(message, StartsWith(start));
        auto payload = nlohmann::json::parse(message.substr(start.size()));
        auto expected = toJSON(ScreenCaptureWindowResolutionFailurePayload(12, content));
        payload.erase("generatedAt");
        expected.erase("generatedAt");
        EXPECT_EQ(payload, expected);
    }
}

TEST_F(CaptureSourceResolverTests, ScreenshotRegionIsCapturedInWholePointsAndCutOut)
{
    content.displays[1] = displayAt(72, {1920, 0, 1280, 1024}, 2);
    const auto result = resolver.resolveScreenshotRegion(content, {1930.5, 20.5, 10.25, 10}, {1});
    EXPECT_EQ(displayFilter(result.source).display.displayID, 72U);
    EXPECT_EQ(result.source.sourceRect, (Rect{10, 20, 11, 11}));
    EXPECT_EQ(result.source.width, 22);
    EXPECT_EQ(result.source.height, 22);
    EXPECT_EQ(result.source.description, "region:10x10pt");
    EXPECT_EQ(result.pixelCropRect, (PixelRect{1, 1, 21, 20}));
    EXPECT_THAT(displayFilter(result.source).excludedApplications, ElementsAre(desktopApplication));
    EXPECT_THAT(exceptedIDs(result.source), ElementsAre(1U));
}

TEST_F(CaptureSourceResolverTests, ScreenshotRegionATrifleOutsideIsCutAtTheEdgeOfTheDisplay)
{
    const auto result = resolver.resolveScreenshotRegion(content, {-0.0005, 10, 100, 100}, {});
    EXPECT_EQ(result.source.sourceRect, (Rect{0, 10, 100, 100}));
    EXPECT_EQ(result.pixelCropRect, (PixelRect{0, 0, 100, 100}));
}

TEST_F(CaptureSourceResolverTests, ScreenshotRegionWithoutIncludedWindowsKeepsNoOwnWindow)
{
    EXPECT_THAT(
        exceptedIDs(resolver.resolveScreenshotRegion(content, {10, 10, 50, 50}, {}).source), IsEmpty());
}

TEST_F(CaptureSourceResolverTests, ScreenshotRegionBesideAllDisplaysIsAnError)
{
    EXPECT_EQ(messageOf<CLIError>([&] {
        resolver.resolveScreenshotRegion(content, {9000, 0, 10, 10}, {});
    }),
        "Selected region did not overlap a capturable display.");
}

TEST_F(CaptureSourceResolverTests, RecordingShowsTheDisplayOfTheOptions)
{
    options.displayIndex = 1;
    options.exceptWindowId = 2;
    const auto source = resolver.resolve(content, options);
    EXPECT_EQ(source.description, "screen:1");
    EXPECT_THAT(exceptedIDs(source), ElementsAre(2U));
}

TEST_F(CaptureSourceResolverTests, RecordingPrefersTheRegionToTheDisplay)
{
    options.displayIndex = 1;
    options.captureRegion = CaptureRegion{10, 10, 50, 60};
    options.exceptWindowId = 2;
    const auto source = resolver.resolve(content, options);
    EXPECT_EQ(source.description, "region:50x60pt");
    EXPECT_THAT(exceptedIDs(source), ElementsAre(2U));
}

TEST_F(CaptureSourceResolverTests, RecordingPrefersTheWindowToAllElse)
{
    options.captureRegion = CaptureRegion{10, 10, 50, 60};
    options.captureWindowId = 7;
    EXPECT_EQ(resolver.resolve(content, options).description, "window:7 Editor");
    EXPECT_EQ(standardError.text(), "");
}

TEST_F(CaptureSourceResolverTests, ExceptedWindowOfAWindowRecordingIsWarnedOf)
{
    options.captureWindowId = 7;
    options.exceptWindowId = 2;
    resolver.resolve(content, options);
    EXPECT_EQ(standardError.text(),
        "Warning: --except-window-id is ignored for --window-id captures: a single-window recording contains "
        "only "
        "that window.\n");
}

TEST_F(CaptureSourceResolverTests, RecordingGoesOnWithoutAnUnknownExceptedWindow)
{
    options.exceptWindowId = 12;
    EXPECT_THAT(exceptedIDs(resolver.resolve(content, options)), IsEmpty());
    EXPECT_EQ(standardError.text(),
        "Warning: Window 12 from --except-window-id is not in the capturable window list; recording without "
        "it.\n");
}

TEST_F(CaptureSourceResolverTests, GeometryOfADisplayIsItsFrameAndScale)
{
    content.displays[1] = displayAt(72, {1920, 0, 1280, 1024}, 2);
    options.displayIndex = 1;
    EXPECT_EQ(resolver.resolveGeometry(content, options, 1280, 1024),
        (CaptureGeometry{{1920, 0, 1280, 1024}, 2, 1280, 1024}));
}

TEST_F(CaptureSourceResolverTests, GeometryOfARegionIsTheRegionInTheScaleOfItsDisplay)
{
    content.displays[1] = displayAt(72, {1920, 0, 1280, 1024}, 2);
    options.captureRegion = CaptureRegion{2000, 10, 50, 60};
    EXPECT_EQ(resolver.resolveGeometry(content, options, 100, 120),
        (CaptureGeometry{{2000, 10, 50, 60}, 2, 100, 120}));
}

TEST_F(CaptureSourceResolverTests, GeometryOfAWindowIsItsFrameInTheScaleOfItsDisplay)
{
    content.displays[0] = displayAt(71, {0, 0, 1920, 1080}, 1.5);
    options.captureRegion = CaptureRegion{10, 10, 50, 60};
    options.captureWindowId = 7;
    EXPECT_EQ(resolver.resolveGeometry(content, options, 150, 120),
        (CaptureGeometry{{10, 10, 100, 80}, 1.5, 150, 120}));
}

TEST_F(CaptureSourceResolverTests, GeometryWarnsOfNothing)
{
    options.captureWindowId = 7;
    options.exceptWindowId = 12;
    resolver.resolveGeometry(content, options, 100, 80);
    EXPECT_EQ(standardError.text(), "");
}

TEST_F(CaptureSourceResolverTests, GeometryFailsAsTheSourceDoes)
{
    options.displayIndex = 5;
    EXPECT_EQ(messageOf<CLIError>([&] { resolver.resolveGeometry(content, options, 1, 1); }),
        "No display at index 5. Run `glimto-capture sources`.");
    options.captureRegion = CaptureRegion{-10, 10, 50, 60};
    EXPECT_EQ(messageOf<CLIError>([&] { resolver.resolveGeometry(content, options, 1, 1); }),
        "Selected region extends outside display 0. Capture regions must fit within a single display and are "
        "not "
        "clipped.");
    options.captureWindowId = 12;
    EXPECT_THAT(
        messageOf<GlimtoCaptureLifecycleError>([&] { resolver.resolveGeometry(content, options, 1, 1); }),
        StartsWith("No capturable ScreenCaptureKit window with id 12."));
}

} // namespace
} // namespace glimto
