#include "CommandLine/Driver.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CommandLine/ScreenCaptureProcessLock.h"
#include "CommandLine/UsageText.h"
#include "DriverFixture.h"
#include "Fakes/FakeLineOutput.h"
#include "Fakes/TemporaryDirectory.h"
#include "Lifecycle/GlimtoCaptureLifecycleError.h"

namespace glimto {
namespace {

class DriverTests : public DriverFixture { };

TEST_F(DriverTests, HelpPrintsTheUsageText)
{
    EXPECT_EQ(run({"help"}), 0);
    EXPECT_EQ(standardOutput.text(), usageText() + "\n");
    EXPECT_EQ(standardError.text(), "");
}

TEST_F(DriverTests, AnUnknownCommandIsAnError)
{
    EXPECT_EQ(run({"bogus"}), 1);
    EXPECT_EQ(standardOutput.text(), "");
    EXPECT_EQ(standardError.text(), "error: Unknown command 'bogus'. Run `glimto-capture help`.\n");
}

TEST_F(DriverTests, PermissionIsPrintedAsJSON)
{
    EXPECT_EQ(run({"permission-json"}), 0);
    EXPECT_EQ(standardOutput.text(), "{\"preflightGranted\":true,\"screenRecording\":\"granted\"}\n");
}

TEST_F(DriverTests, AMissingPermissionIsAnAnswerAsWell)
{
    screen.granted = false;
    EXPECT_EQ(run({"permission-json"}), 0);
    EXPECT_EQ(standardOutput.text(), "{\"preflightGranted\":false,\"screenRecording\":\"denied\"}\n");
    EXPECT_EQ(standardError.text(), "warning: The screen is out of reach.\n");
}

TEST_F(DriverTests, SourcesAreListed)
{
    EXPECT_EQ(run({"sources"}), 0);
    EXPECT_EQ(standardOutput.text(), "Screens:\n  screen:0 -> Display 1 (640x480) id=1\n");
}

TEST_F(DriverTests, SourcesThatCannotBeFetchedAreAnError)
{
    content.error = std::make_exception_ptr(PlatformError("X11", 1, "Cannot open display :9"));
    EXPECT_EQ(run({"sources"}), 1);
    EXPECT_EQ(standardError.text(), "error: Cannot open display :9\n");
}

TEST_F(DriverTests, WindowsAreListedAsJSON)
{
    EXPECT_EQ(run({"windows-json", "--all"}), 0);
    ASSERT_EQ(documents().size(), 1U);
    EXPECT_EQ(documents().front()["displays"].size(), 1U);
    EXPECT_FALSE(documents().front().contains("enumeration"));
}

TEST_F(DriverTests, WindowsThatCannotBeFetchedAreToldOfInJSON)
{
    content.error = std::make_exception_ptr(PlatformError("X11", 1, "Cannot open display :9"));
    EXPECT_EQ(run({"windows"}), 0);
    ASSERT_EQ(documents().size(), 1U);
    EXPECT_EQ(documents().front()["error"]["code"], "sckEnumerationFailed");
    EXPECT_EQ(standardError.text(), "");
}

TEST_F(DriverTests, ASecondCaptureCommandIsBusy)
{
    const auto lock = ScreenCaptureProcessLock::acquire(RecordOptions(), process);
    EXPECT_EQ(run({"sources"}), 1);
    EXPECT_EQ(standardOutput.text(), "");
    EXPECT_EQ(standardError.text(),
        "error: Screen capture is in use. Finish the active capture before starting another capture "
        "command.\n");
}

TEST_F(DriverTests, ABusyScreenLeavesTheTakeAlone)
{
    const auto lock = ScreenCaptureProcessLock::acquire(RecordOptions(), process);
    EXPECT_EQ(record(), 1);
    EXPECT_EQ(standardOutput.text(), "");
    EXPECT_FALSE(std::filesystem::exists(take()));
}

TEST_F(DriverTests, TheLockIsHeldWhileACommandRuns)
{
    auto* stream = captureStreams.stream.get();
    bool wasBusy = false;
    stream->onStart = [&] {
        try {
            ScreenCaptureProcessLock::acquire(SourcesCommand(), process);
        } catch (const GlimtoCaptureLifecycleError&) {
            wasBusy = true;
        }
        stream->deliver(fakeFrame(1'000'000'000));
    };
    EXPECT_EQ(record(), 0);
    EXPECT_TRUE(wasBusy);
    EXPECT_TRUE(ScreenCaptureProcessLock::acquire(SourcesCommand(), process).has_value());
}

TEST_F(DriverTests, ARecordingIsAnnouncedAndEndsWell)
{
    EXPECT_EQ(record(), 0) << standardError.text();
    const auto lines = standardOutput.lines();
    ASSERT_FALSE(lines.empty());
    const auto launched = nlohmann::json::parse(lines.front());
    EXPECT_EQ(launched["kind"], "launched");
    EXPECT_FALSE(launched.contains("recordingId"));
    EXPECT_FALSE(launched.contains("pageUrl"));
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "GLIMTO_RECORDING_STATUS=recording"), 1);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "GLIMTO_RECORDING_STATUS=stopped"), 1);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "GLIMTO_RECORDING_STATUS=failed"), 0);
    EXPECT_EQ(standardError.text(), "");
    EXPECT_TRUE(std::filesystem::exists(take() / "manifest.json"));
}

TEST_F(DriverTests, SignalsAreHeardFromTheFirstLineOn)
{
    std::optional<bool> wasListening;
    standardOutput.onLine
        = [&](std::string_view) { wasListening = wasListening.value_or(stopRequests.isListening); };
    EXPECT_EQ(record(), 0) << standardError.text();
    EXPECT_EQ(wasListening, true);
}

TEST_F(DriverTests, ARecordingPrintsItsMetadataOnlyWhenAsked)
{
    EXPECT_EQ(record(), 0);
    EXPECT_EQ(documents().back()["kind"], "completed");

    EXPECT_EQ(record({"--overwrite", "--stdout-json"}), 0) << standardError.text();
    EXPECT_EQ(documents().back()["path"], take().string());
    EXPECT_EQ(documents().back()["videoSegmentCount"], 1);
}

TEST_F(DriverTests, ARecordingIsRevealedOnlyWhenAsked)
{
    EXPECT_EQ(record(), 0);
    EXPECT_TRUE(workspace.revealed.empty());
    EXPECT_EQ(record({"--overwrite", "--reveal"}), 0);
    EXPECT_EQ(workspace.revealed, std::vector<std::filesystem::path>({take()}));
}

TEST_F(DriverTests, ARecordingThatCannotBeRevealedIsStillASuccess)
{
    workspace.succeeds = false;
    EXPECT_EQ(record({"--reveal"}), 0);
    EXPECT_EQ(standardError.text(), "Warning: Could not reveal file.\n");
}

TEST_F(DriverTests, AMissingRevealToolIsOnlyAWarning)
{
    workspace.launchError = "no file manager";
    EXPECT_EQ(record({"--reveal"}), 0);
    EXPECT_EQ(standardError.text(), "Warning: Could not reveal file: no file manager\n");
}

TEST_F(DriverTests, AFailedRecordingIsToldInOrderOnBothOutputs)
{
    captureStreams.stream->startError
        = std::make_exception_ptr(PlatformError("X11", 8, "Cannot capture the display"));
    EXPECT_EQ(record(), 1);
    const auto lines = standardOutput.lines();
    ASSERT_GE(lines.size(), 2U);
    auto failed = nlohmann::json::parse(lines[lines.size() - 2]);
    failed.erase("timestamp");
    EXPECT_EQ(failed.dump(),
        R"({"error":{"code":"recording_failed","domain":"X11","message":"Cannot capture the display","nsCode":8,)"
        R"("type":"PlatformError"},"kind":"recording_failed","schemaVersion":1,"state":"failed",)"
        R"("type":"recording_lifecycle"})");
    EXPECT_EQ(lines.back(), "GLIMTO_RECORDING_STATUS=failed");
    EXPECT_EQ(standardError.text(), "error: Cannot capture the display\n");
}

TEST_F(DriverTests, AnUnknownMicrophoneIsToldWithTheOnesThereAreAndTheErrorLineComesLast)
{
    EXPECT_EQ(record({"--microphone", "webcam"}), 1);
    EXPECT_EQ(standardError.text(),
        "Available microphone: mic (Desk Microphone)\n"
        "error: Microphone webcam was not found. Choose another microphone and try again.\n");
    EXPECT_EQ(documents().back()["error"]["code"], "recording_failed");
    EXPECT_FALSE(std::filesystem::exists(take()));
}

TEST_F(DriverTests, SystemAudioWithoutASoundServerFailsBeforeAnythingIsWritten)
{
    audioInputs.error = std::make_exception_ptr(PlatformError("PulseAudio", 6, "There is no sound server."));
    EXPECT_EQ(record({"--system-audio"}), 1);
    EXPECT_EQ(standardError.text(), "error: There is no sound server.\n");
    EXPECT_FALSE(std::filesystem::exists(take()));
}

TEST_F(DriverTests, TheErrorLineComesAfterTheFailedStatus)
{
    captureStreams.stream->startError
        = std::make_exception_ptr(PlatformError("X11", 8, "Cannot capture the display"));
    const std::vector<std::string> arguments = {"record", "-o", take().string(), "-d", "1"};
    FakeLineOutput terminal;
    EXPECT_EQ(Driver(services, {terminal, terminal}).run(arguments), 1);
    const auto lines = terminal.lines();
    ASSERT_GE(lines.size(), 3U);
    EXPECT_EQ(nlohmann::json::parse(lines[lines.size() - 3])["kind"], "recording_failed");
    EXPECT_EQ(lines[lines.size() - 2], "GLIMTO_RECORDING_STATUS=failed");
    EXPECT_EQ(lines.back(), "error: Cannot capture the display");
}

TEST_F(DriverTests, AnErrorsOwnCodeIsTheEventsCode)
{
    EXPECT_EQ(record({"--window-id", "77"}), 1);
    const auto failed = documents().back();
    EXPECT_EQ(failed["kind"], "recording_failed");
    EXPECT_EQ(failed["error"]["code"], "window_not_found");
    EXPECT_EQ(failed["error"]["type"], "GlimtoCaptureLifecycleError");
}

TEST_F(DriverTests, ARecordingWithoutPermissionSaysSo)
{
    screen.granted = false;
    EXPECT_EQ(record(), 1);
    EXPECT_EQ(documents().back()["error"]["code"], "screen_permission_denied");
    EXPECT_EQ(standardOutput.lines().back(), "GLIMTO_RECORDING_STATUS=failed");
    EXPECT_EQ(standardError.text(),
        "warning: The screen is out of reach.\n"
        "error: Screen Recording permission is not granted for glimto-capture.\n");
}

TEST_F(DriverTests, AWindowSystemThatGoesAwayIsNotAMissingPermission)
{
    captureStreams.stream->startError
        = std::make_exception_ptr(PlatformError("X11", 1004, "The connection to the X server was lost."));
    EXPECT_EQ(record(), 1);
    EXPECT_EQ(documents().back()["error"]["code"], "recording_failed");
}

TEST_F(DriverTests, AStreamThatTheUserDeclinedIsAMissingPermission)
{
    captureStreams.stream->startError
        = std::make_exception_ptr(PlatformError("com.glimto.capture.stream", -3801, "The user declined."));
    EXPECT_EQ(record(), 1);
    EXPECT_EQ(documents().back()["error"]["code"], "screen_permission_denied");
}

// The working directory of the process, which was removed from under it.
class RemovedWorkingDirectory {
public:
    RemovedWorkingDirectory()
    {
        const TemporaryDirectory removed;
        std::filesystem::current_path(removed.path());
    }
    ~RemovedWorkingDirectory() { std::filesystem::current_path(previous_); }
    RemovedWorkingDirectory(const RemovedWorkingDirectory&) = delete;
    RemovedWorkingDirectory& operator=(const RemovedWorkingDirectory&) = delete;

private:
    const std::filesystem::path previous_ = std::filesystem::current_path();
};

TEST_F(DriverTests, RelativePathsNeedAWorkingDirectory)
{
    const RemovedWorkingDirectory removed;
    EXPECT_EQ(run({"record"}), 1);
    EXPECT_EQ(run({"record", "-o", "take"}), 1);
    EXPECT_EQ(standardOutput.text(), "");
    EXPECT_EQ(standardError.text(),
        "error: Could not find the working directory: No such file or directory\n"
        "error: Could not find the working directory: No such file or directory\n");
    EXPECT_EQ(record(), 0);
}

TEST_F(DriverTests, AnExceptionThatIsNotOursIsAnErrorLikeAnyOther)
{
    content.error = std::make_exception_ptr(7);
    EXPECT_EQ(run({"sources"}), 1);
    EXPECT_EQ(standardError.text(), "error: unknown error\n");
}

} // namespace
} // namespace glimto
