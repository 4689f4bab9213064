#include "ScreenshotCapturerFixture.h"

#include <memory>
#include <vector>

#include "Lifecycle/GlimtoCaptureLifecycleError.h"
#include "Support/Errors.h"

namespace glimto {
namespace {

class ScreenshotCapturerTests : public ScreenshotCapturerFixture { };

TEST_F(ScreenshotCapturerTests, TheDisplayUnderTheCursorIsTheDefault)
{
    screen.cursor = Point{700, 100};
    const auto metadata = capture();
    EXPECT_EQ(capturedContent().display.displayID, 72U);
    EXPECT_EQ(metadata.path, path.string());
    EXPECT_EQ(metadata.width, 320);
    EXPECT_EQ(metadata.height, 240);
    EXPECT_EQ(metadata.format, "png");
    EXPECT_EQ(metadata.captureKind, "display");
    EXPECT_EQ(metadata.byteSize, static_cast<std::int64_t>(std::filesystem::file_size(path)));
}

TEST_F(ScreenshotCapturerTests, ADisplayIsChosenByItsIndex)
{
    options.displayStrategy.reset();
    options.target = DisplayTarget{1};
    EXPECT_EQ(capture().captureKind, "display");
    EXPECT_EQ(capturedContent().display.displayID, 72U);
}

TEST_F(ScreenshotCapturerTests, AnUnknownDisplayIsAnError)
{
    options.target = DisplayTarget{2};
    EXPECT_EQ(errorOfCapture<CLIError>(), "No display at index 2. Run `glimto-capture sources`.");
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(ScreenshotCapturerTests, ARegionIsCapturedInWholePointsAndCutOut)
{
    options.target = CaptureRegion{650.6, 10.2, 20.6, 30.4};
    const auto metadata = capture();
    EXPECT_EQ(metadata.captureKind, "region");
    EXPECT_EQ(stills.capture.configuration->sourceRect, (Rect{10, 10, 22, 31}));
    EXPECT_EQ(stills.capture.configuration->width, 22);
    EXPECT_EQ(stills.capture.configuration->height, 31);
    EXPECT_EQ(metadata.width, 21);
    EXPECT_EQ(metadata.height, 30);
    EXPECT_EQ(stills.png.width, 21);
    EXPECT_EQ(stills.png.height, 30);
}

TEST_F(ScreenshotCapturerTests, ARegionAcrossDisplaysIsAnError)
{
    options.target = CaptureRegion{630, 10, 20, 20};
    EXPECT_EQ(errorOfCapture<CLIError>(),
        "Selected region spans multiple displays. Capture regions must fit within a single display.");
}

TEST_F(ScreenshotCapturerTests, OneStillFrameIsAskedForWithoutPointer)
{
    capture();
    const auto& configuration = *stills.capture.configuration;
    EXPECT_EQ(configuration.width, 640);
    EXPECT_EQ(configuration.height, 480);
    EXPECT_EQ(configuration.sourceRect, std::nullopt);
    EXPECT_EQ(configuration.minimumFrameInterval, (MediaTime{1, 60}));
    EXPECT_EQ(configuration.queueDepth, 1);
    EXPECT_FALSE(configuration.showsCursor);
}

TEST_F(ScreenshotCapturerTests, WithoutATriggerContentIsFetchedOnceAndNothingIsPrinted)
{
    capture();
    EXPECT_EQ(content.queries.size(), 1U);
    EXPECT_FALSE(content.queries.front().excludingDesktopWindows);
    EXPECT_FALSE(content.queries.front().onScreenWindowsOnly);
    EXPECT_EQ(stills.capture.preparations, 0);
    EXPECT_EQ(standardError.text(), "");
    EXPECT_EQ(standardOutput.text(), "");
}

TEST_F(ScreenshotCapturerTests, AnOutputPathIsNeeded)
{
    options.outputURL.reset();
    EXPECT_EQ(errorOfCapture<CLIError>(), "screenshot requires --output <png>.");
}

TEST_F(ScreenshotCapturerTests, AMissingPermissionIsToldBeforeContentIsFetched)
{
    screen.granted = false;
    try {
        capture();
        FAIL() << "nothing was thrown";
    } catch (const GlimtoCaptureLifecycleError& error) {
        EXPECT_EQ(error.code(), "screen_permission_denied");
        EXPECT_STREQ(error.what(), "Screen Recording permission is not granted for glimto-capture.");
    }
    EXPECT_TRUE(content.queries.empty());
    EXPECT_EQ(standardError.text(), "warning: The screen is out of reach.\n");
}

TEST_F(ScreenshotCapturerTests, AfterTheTriggerEverythingIsLookedUpAgain)
{
    options.waitForCaptureTrigger = true;
    screen.cursor = Point{10, 10};
    onTrigger = [this] {
        screen.cursor = Point{700, 100};
        content.content.displays[1].width = 300;
    };
    capture();
    EXPECT_EQ(content.queries.size(), 2U);
    EXPECT_EQ(capturedContent().display.displayID, 72U);
    EXPECT_EQ(stills.capture.configuration->width, 300);
    EXPECT_EQ(stills.capture.preparations, 1);
    EXPECT_EQ(stills.capture.captures, 1);
    EXPECT_EQ(standardError.text(), "GLIMTO_SCREENSHOT_READY_FOR_TRIGGER\n");
}

TEST_F(ScreenshotCapturerTests, WithoutItsTriggerNothingIsCaptured)
{
    options.waitForCaptureTrigger = true;
    triggerBytes = 0;
    EXPECT_EQ(errorOfCapture<CLIError>(), "Screenshot trigger input closed before capture.");
    EXPECT_EQ(stills.capture.captures, 0);
    EXPECT_TRUE(std::filesystem::is_empty(directory.path()));
}

TEST_F(ScreenshotCapturerTests, AWrongSourceIsToldBeforeTheTrigger)
{
    options.waitForCaptureTrigger = true;
    options.target = DisplayTarget{5};
    EXPECT_EQ(errorOfCapture<CLIError>(), "No display at index 5. Run `glimto-capture sources`.");
    EXPECT_EQ(standardError.text(), "");
}

TEST_F(ScreenshotCapturerTests, OwnWindowsStayWhenTheirApplicationIsInFront)
{
    content.content.windows = {ownWindow(5), ownWindow(6, 101), ownWindow(7)};
    screen.frontmostProcess = 100;
    capture();
    ASSERT_EQ(capturedContent().exceptingWindows.size(), 2U);
    EXPECT_EQ(capturedContent().exceptingWindows[0].windowID, 5U);
    EXPECT_EQ(capturedContent().exceptingWindows[1].windowID, 7U);
    EXPECT_EQ(capturedContent().excludedApplications.size(), 2U);
}

TEST_F(ScreenshotCapturerTests, OwnWindowsAreHiddenWhenAnotherApplicationIsInFront)
{
    content.content.windows = {ownWindow(5)};
    for (const std::optional<std::int32_t> front : {std::optional(200), std::optional<std::int32_t>()}) {
        screen.frontmostProcess = front;
        capture();
        EXPECT_TRUE(capturedContent().exceptingWindows.empty());
        EXPECT_EQ(capturedContent().excludedApplications.size(), 1U);
    }
}

TEST_F(ScreenshotCapturerTests, AListOfWindowsToKeepReplacesThatRule)
{
    content.content.windows = {ownWindow(5), ownWindow(6)};
    screen.frontmostProcess = 100;
    options.includedGlimtoWindowIDs = std::vector<std::uint32_t>{6, 99};
    capture();
    ASSERT_EQ(capturedContent().exceptingWindows.size(), 1U);
    EXPECT_EQ(capturedContent().exceptingWindows[0].windowID, 6U);

    options.includedGlimtoWindowIDs = std::vector<std::uint32_t>();
    capture();
    EXPECT_TRUE(capturedContent().exceptingWindows.empty());
}

TEST_F(ScreenshotCapturerTests, TheWindowsToKeepAreThoseOfTheStart)
{
    content.content.windows = {ownWindow(5)};
    screen.frontmostProcess = 100;
    options.waitForCaptureTrigger = true;
    onTrigger = [this] {
        screen.frontmostProcess = 200;
        content.content.windows = {ownWindow(5), ownWindow(8)};
    };
    capture();
    ASSERT_EQ(capturedContent().exceptingWindows.size(), 1U);
    EXPECT_EQ(capturedContent().exceptingWindows[0].windowID, 5U);
}

TEST_F(ScreenshotCapturerTests, TheWatermarkIsDrawnIntoThePictureAsItIsWritten)
{
    options.target = CaptureRegion{100, 100, 400, 300};
    const auto metadata = capture();
    EXPECT_EQ(stills.textDrawing.fonts.size(), 1U);
    EXPECT_EQ(metadata.width, 400);
    const std::size_t pixel = 4 * (std::size_t(285) * 400 + 309);
    EXPECT_EQ(stills.png.pixels.at(pixel), 230); // nine tenths of white
    EXPECT_EQ(stills.png.pixels.at(pixel + 16), 0);
}

TEST_F(ScreenshotCapturerTests, NoWatermarkIsDrawnWhenItIsNotWanted)
{
    options.applyWatermark = false;
    capture();
    EXPECT_TRUE(stills.textDrawing.fonts.empty());
    EXPECT_EQ(stills.png.pixels, std::vector<std::uint8_t>(4 * 640 * 480, 0));
}

TEST_F(ScreenshotCapturerTests, APictureOfAnotherPixelFormatIsWrittenInTheUsualOne)
{
    options.applyWatermark = false;
    const PixelCanvas blue = makeCanvas(640, 480, PixelFormat::rgb565);
    for (std::size_t at = 0; at < 640 * 480; ++at) {
        blue.bytes[2 * at] = 0x1F;
        blue.bytes[2 * at + 1] = 0;
    }
    stills.capture.image = blue;
    options.target = CaptureRegion{100, 100, 2, 1};
    capture();
    EXPECT_EQ(stills.png.pixels, (std::vector<std::uint8_t>{255, 0, 0, 255, 255, 0, 0, 255}));
}

TEST_F(ScreenshotCapturerTests, ASystemThatGivesNoPictureIsAnError)
{
    stills.capture.givesImage = false;
    EXPECT_EQ(errorOfCapture<PlatformError>(), "ScreenCaptureKit did not return a screenshot image.");
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(ScreenshotCapturerTests, APictureSmallerThanTheRegionCannotBeCut)
{
    options.target = CaptureRegion{100.5, 100.5, 10, 10};
    stills.capture.image = fakePicture(0, 0);
    EXPECT_EQ(errorOfCapture<CLIError>(), "Could not crop the screenshot to the selected region.");
}

// A system that takes no single pictures.
class ScreenshotCapturerStreamTests : public ScreenshotCapturerFixture {
protected:
    ScreenshotCapturerStreamTests()
    {
        windowSystem.takesStills = false;
        stream.onStart = [this] { stream.deliver(fakeFrame(0, 640, 480)); };
    }

    FakeCaptureStreamState& stream = *captureStreams.stream;
};

TEST_F(ScreenshotCapturerStreamTests, OwnWindowsThatCannotBeLeftOutAreWarnedOfOnce)
{
    stream.changesOpened = [](OpenedCapture& opened) { opened.hidesApplications = false; };
    capture();
    EXPECT_TRUE(standardError.lines().empty());

    content.content.applications = {{process.pid, "com.glimto.desktop", "Glimto"}};
    capture();
    EXPECT_EQ(standardError.lines(),
        std::vector<std::string>{
            "Warning: This system cannot leave the windows of Glimto out of a screenshot."});
}

TEST_F(ScreenshotCapturerStreamTests, TheFirstFrameOfAStreamIsThePicture)
{
    EXPECT_EQ(capture().width, 640);
    EXPECT_EQ(stream.configuration->queueDepth, 1);
    EXPECT_FALSE(stream.configuration->showsCursor);
    EXPECT_EQ(stream.starts, 1);
    EXPECT_EQ(stream.stops, 1);
    EXPECT_TRUE(stream.outputsRemoved);
    EXPECT_EQ(stills.capture.captures, 0);
}

TEST_F(ScreenshotCapturerStreamTests, NothingIsPreparedForTheTrigger)
{
    options.waitForCaptureTrigger = true;
    EXPECT_EQ(capture().width, 640);
    EXPECT_EQ(stills.capture.preparations, 0);
}

TEST_F(ScreenshotCapturerStreamTests, AStreamThatEndsGivesItsError)
{
    stream.onStart = [this] {
        stream.fail(std::make_exception_ptr(PlatformError("X11", 1008, "The display is gone.")));
    };
    EXPECT_EQ(errorOfCapture<PlatformError>(), "The display is gone.");
    EXPECT_TRUE(stream.outputsRemoved);
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(ScreenshotCapturerStreamTests, AStreamThatCannotStartGivesItsError)
{
    stream.startError = std::make_exception_ptr(PlatformError("X11", 1005, "The X server does not answer."));
    EXPECT_EQ(errorOfCapture<PlatformError>(), "The X server does not answer.");
}

TEST_F(ScreenshotCapturerStreamTests, AnEmptyFrameIsAnError)
{
    stream.onStart = [this] { stream.deliver(fakeFrame(0, 0, 0)); };
    EXPECT_EQ(errorOfCapture<PlatformError>(), "ScreenCaptureKit returned an empty screenshot frame.");
}

} // namespace
} // namespace glimto
