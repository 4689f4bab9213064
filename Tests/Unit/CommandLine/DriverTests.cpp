#include "CommandLine/Driver.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CommandLine/ScreenCaptureProcessLock.h"
#include "CommandLine/UsageText.h"
#include "Fakes/FakeAssetWriter.h"
#include "Fakes/FakeCaptureStream.h"
#include "Fakes/FakeEventTap.h"
#include "Fakes/FakeImageCodec.h"
#include "Fakes/FakeLineOutput.h"
#include "Fakes/FakeProcessEnvironment.h"
#include "Fakes/FakeScreenAccess.h"
#include "Fakes/FakeShareableContentProvider.h"
#include "Fakes/FakeStopRequests.h"
#include "Fakes/FakeWorkspace.h"
#include "Fakes/TemporaryDirectory.h"
#include "Lifecycle/GlimtoCaptureLifecycleError.h"

namespace glimto {
namespace {

// A machine with one display of 640x480 points, whose stream delivers one frame as it starts.
class DriverTests : public testing::Test {
protected:
    DriverTests()
    {
        process.executable = directory.path() / "glimto-capture";
        process.caches = directory.path() / "caches";
        content.content.displays = {{.displayID = 1,
            .frame = {0, 0, 640, 480},
            .width = 640,
            .height = 480,
            .pixelsWide = 640,
            .pixelsHigh = 480}};
        auto* stream = captureStreams.stream.get();
        stream->onStart = [stream] { stream->deliver(fakeFrame(1'000'000'000)); };
    }

    int run(const std::vector<std::string>& arguments)
    {
        return Driver(services, {standardOutput, standardError}).run(arguments);
    }

    // A recording that a stop file ends in its first round.
    int record(const std::vector<std::string>& options = {})
    {
        std::ofstream(directory.path() / "stop") << "stop";
        std::vector<std::string> arguments
            = {"record", "-o", take().string(), "--stop-file", (directory.path() / "stop").string()};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return run(arguments);
    }

    std::filesystem::path take() const { return directory.path() / "take"; }

    // The JSON lines on standard output.
    std::vector<nlohmann::json> documents() const
    {
        std::vector<nlohmann::json> result;
        for (const auto& line : standardOutput.lines())
            if (line.starts_with('{'))
                result.push_back(nlohmann::json::parse(line));
        return result;
    }

    TemporaryDirectory directory;
    FakeLineOutput standardOutput;
    FakeLineOutput standardError;
    FakeProcessEnvironment process;
    FakeScreenAccess screen;
    FakeShareableContentProvider content;
    FakeCaptureStreamFactory captureStreams;
    FakeAssetWriterFactory assetWriters;
    FakeEventTapFactory eventTaps;
    FakeImageCodec images;
    FakeWorkspace workspace;
    FakeStopRequests stopRequests;
    PlatformServices services{.process = process,
        .screen = screen,
        .content = content,
        .captureStreams = captureStreams,
        .assetWriters = assetWriters,
        .eventTaps = eventTaps,
        .images = images,
        .workspace = workspace,
        .stopRequests = stopRequests};
};

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

struct UnavailableCommand {
    std::string name; // of the test
    std::string feature;
    std::vector<std::string> arguments;

    friend void PrintTo(const UnavailableCommand& command, std::ostream* stream) { *stream << command.name; }
};

class DriverUnavailableTests : public DriverTests, public testing::WithParamInterface<UnavailableCommand> { };

TEST_P(DriverUnavailableTests, IsRefusedBeforeAnythingIsWrittenOrCaptured)
{
    EXPECT_EQ(run(GetParam().arguments), 1);
    EXPECT_EQ(standardOutput.text(), "");
    EXPECT_EQ(standardError.text(),
        "error: " + GetParam().feature + " is not available in this version of glimto-capture.\n");
    EXPECT_TRUE(std::filesystem::is_empty(directory.path()));
    EXPECT_EQ(captureStreams.stream->starts, 0);
}

const std::vector<UnavailableCommand> unavailableCommands = {
    {"Screenshot", "screenshot", {"screenshot", "-o", "/nowhere/x.png"}},
    {"ClipboardImage", "clipboard-image", {"clipboard-image", "--path", "/nowhere/x.png"}},
    {"RecognizeText", "recognize-text", {"recognize-text", "--path", "/nowhere/x.png"}},
    {"Upload", "upload",
        {"upload", "--dir", "/nowhere", "--api-base-url", "http://h", "--recording-id", "r"}},
    {"RecordUpload", "record --upload", {"record", "-o", "/nowhere/take", "--upload"}},
    {"RecordUploadSetting", "record --upload", {"record", "-o", "/nowhere/take", "--recording-id", "r"}},
    {"RecordSystemAudio", "record --system-audio", {"record", "-o", "/nowhere/take", "--system-audio"}},
    {"RecordMicrophone", "record --microphone", {"record", "-o", "/nowhere/take", "--microphone", "m"}},
};

INSTANTIATE_TEST_SUITE_P(Commands, DriverUnavailableTests, testing::ValuesIn(unavailableCommands),
    [](const auto& test) { return test.param.name; });

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
