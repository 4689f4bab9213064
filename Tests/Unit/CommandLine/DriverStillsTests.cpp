#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "CommandLine/ScreenCaptureProcessLock.h"
#include "DriverFixture.h"

namespace glimto {
namespace {

class DriverStillsTests : public DriverFixture {
protected:
    int screenshot(const std::vector<std::string>& options = {})
    {
        std::vector<std::string> arguments = {"screenshot", "-o", shot.string()};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return run(arguments);
    }

    std::filesystem::path pngFile() const
    {
        std::ofstream(directory.path() / "a.png", std::ios::binary) << "\x89PNG\r\n\x1A\n whole";
        return directory.path() / "a.png";
    }

    // The only event, without its time.
    std::string event() const
    {
        auto event = nlohmann::json::parse(standardOutput.text());
        event.erase("timestamp");
        return event.dump();
    }

    const std::filesystem::path shot = directory.path() / "shot.png";
};

TEST_F(DriverStillsTests, AScreenshotIsToldInTwoLines)
{
    EXPECT_EQ(screenshot(), 0);
    const auto size = std::to_string(std::filesystem::file_size(shot));
    EXPECT_EQ(standardOutput.text(),
        "Screenshot: " + shot.string() + "\nFormat: png, 640x480, " + size + " bytes\n");
    EXPECT_EQ(standardError.text(), "");
    EXPECT_FALSE(stills.pasteboard.png.has_value());
    EXPECT_TRUE(workspace.opened.empty());
    EXPECT_TRUE(workspace.revealed.empty());
}

TEST_F(DriverStillsTests, AScreenshotIsToldInJSONInstead)
{
    EXPECT_EQ(screenshot({"--stdout-json", "--display", "0"}), 0);
    const auto size = std::to_string(std::filesystem::file_size(shot));
    EXPECT_EQ(standardOutput.text(),
        "{\"byteSize\":" + size + R"(,"captureKind":"display","format":"png","height":480,"path":")"
            + shot.string() + "\",\"width\":640}\n");
}

TEST_F(DriverStillsTests, AScreenshotHasAWatermarkUnlessItIsSwitchedOff)
{
    EXPECT_EQ(screenshot(), 0);
    EXPECT_EQ(stills.textDrawing.fonts.size(), 1U);
    EXPECT_EQ(screenshot({"--no-watermark"}), 0);
    EXPECT_EQ(stills.textDrawing.fonts.size(), 1U);
}

TEST_F(DriverStillsTests, AScreenshotIsCopiedRevealedAndOpenedAsAsked)
{
    EXPECT_EQ(screenshot({"--copy-image", "--reveal", "--open"}), 0);
    ASSERT_TRUE(stills.pasteboard.png.has_value());
    EXPECT_EQ(stills.pasteboard.png->size(), std::filesystem::file_size(shot));
    EXPECT_EQ(workspace.revealed, std::vector<std::filesystem::path>{shot});
    EXPECT_EQ(workspace.opened, std::vector<std::filesystem::path>{shot});
    EXPECT_EQ(standardError.text(), "");
}

TEST_F(DriverStillsTests, WhatFailsAfterTheScreenshotIsOnlyWarnedOf)
{
    stills.pasteboard.obstacle = "Nobody keeps a clipboard here.";
    workspace.succeeds = false;
    EXPECT_EQ(screenshot({"--copy-image", "--reveal", "--open"}), 0);
    EXPECT_EQ(standardOutput.lines().size(), 2U);
    EXPECT_EQ(standardError.text(),
        "warning: Nobody keeps a clipboard here.\n"
        "Warning: Could not write PNG image data to the clipboard.\n"
        "Warning: Could not reveal file.\n"
        "Warning: Could not open file.\n");
}

TEST_F(DriverStillsTests, AMissingOpenToolIsOnlyWarnedOf)
{
    workspace.launchError = "no such tool";
    EXPECT_EQ(screenshot({"--open"}), 0);
    EXPECT_EQ(standardError.text(), "Warning: Could not open file: no such tool\n");
}

TEST_F(DriverStillsTests, AFailedScreenshotIsAnEventAndAnError)
{
    stills.capture.error = std::make_exception_ptr(PlatformError("X11", 8, "Cannot capture the display"));
    EXPECT_EQ(screenshot({"--stdout-json", "--copy-image", "--open"}), 1);
    EXPECT_EQ(event(),
        R"({"error":{"code":"screenshot_failed","domain":"X11","message":"Cannot capture the display","nsCode":8,)"
        R"("type":"PlatformError"},"kind":"screenshot_failed","schemaVersion":1,"type":"recording_lifecycle"})");
    EXPECT_EQ(standardError.text(), "error: Cannot capture the display\n");
    EXPECT_FALSE(std::filesystem::exists(shot));
    EXPECT_FALSE(stills.pasteboard.png.has_value());
    EXPECT_TRUE(workspace.opened.empty());
}

TEST_F(DriverStillsTests, AScreenshotWithoutPermissionSaysSo)
{
    screen.granted = false;
    EXPECT_EQ(screenshot(), 1);
    EXPECT_EQ(documents().front()["error"]["code"], "screen_permission_denied");
    EXPECT_EQ(documents().front()["error"]["type"], "GlimtoCaptureLifecycleError");
    EXPECT_EQ(standardError.text(),
        "warning: The screen is out of reach.\n"
        "error: Screen Recording permission is not granted for glimto-capture.\n");
}

TEST_F(DriverStillsTests, ACaptureThatTheUserDeclinedIsAMissingPermission)
{
    stills.capture.error
        = std::make_exception_ptr(PlatformError("com.glimto.capture.stream", -3801, "The user declined."));
    EXPECT_EQ(screenshot(), 1);
    EXPECT_EQ(documents().front()["error"]["code"], "screen_permission_denied");
}

TEST_F(DriverStillsTests, AWrongCommandLineIsNoFailedScreenshot)
{
    EXPECT_EQ(run({"screenshot"}), 1);
    EXPECT_EQ(standardOutput.text(), "");
    EXPECT_EQ(standardError.text(), "error: screenshot requires --output <png>.\n");
}

TEST_F(DriverStillsTests, AScreenshotWaitsForNoOtherCapture)
{
    const auto lock = ScreenCaptureProcessLock::acquire(RecordOptions(), process);
    EXPECT_EQ(screenshot(), 1);
    EXPECT_EQ(standardError.text(),
        "error: Screen capture is in use. Finish the active capture before starting another capture "
        "command.\n");
    EXPECT_EQ(stills.capture.captures, 0);
}

TEST_F(DriverStillsTests, AnImageIsPutOnTheClipboardWhateverElseIsCaptured)
{
    const auto lock = ScreenCaptureProcessLock::acquire(RecordOptions(), process);
    const auto path = pngFile();
    EXPECT_EQ(run({"clipboard-image", "--path", path.string()}), 0);
    EXPECT_EQ(standardOutput.text(), "Clipboard image: " + path.string() + "\nBytes: 14\n");
    EXPECT_TRUE(stills.pasteboard.png.has_value());
}

TEST_F(DriverStillsTests, AnImageThatCannotBePutOnTheClipboardIsAnError)
{
    stills.pasteboard.obstacle = "Nobody keeps a clipboard here.";
    EXPECT_EQ(run({"clipboard-image", "--path", pngFile().string()}), 1);
    EXPECT_EQ(standardOutput.text(), "");
    EXPECT_EQ(standardError.text(),
        "warning: Nobody keeps a clipboard here.\n"
        "error: Could not write PNG image data to the clipboard.\n");
    EXPECT_EQ(run({"clipboard-image"}), 1);
    EXPECT_EQ(standardError.lines().back(), "error: clipboard-image requires --path <png>.");
}

TEST_F(DriverStillsTests, TextIsPrintedAsJSONWhateverElseIsCaptured)
{
    const auto lock = ScreenCaptureProcessLock::acquire(RecordOptions(), process);
    stills.textRecognition.observations = {{"Hello"}, {"glimto.com"}, {"World"}};
    EXPECT_EQ(run({"recognize-text", "--path", pngFile().string()}), 0);
    EXPECT_EQ(standardOutput.text(), "{\"text\":\"Hello\\nWorld\"}\n");
}

TEST_F(DriverStillsTests, TextOfNoFileIsAnError)
{
    const auto none = (directory.path() / "none.png").string();
    EXPECT_EQ(run({"recognize-text", "--path", none}), 1);
    EXPECT_EQ(run({"recognize-text"}), 1);
    EXPECT_EQ(standardOutput.text(), "");
    EXPECT_EQ(standardError.text(),
        "error: No image found at " + none + ".\nerror: recognize-text requires --path <png>.\n");
}

} // namespace
} // namespace glimto
