#include "CommandLine/CLI.h"

#include <locale>
#include <regex>
#include <string>

#include "CommandLineTestSupport.h"

namespace glimto {
namespace {

class CLIRecordTests : public CommandLineTests {
protected:
    RecordOptions record(const Arguments& options) const
    {
        Arguments arguments = {"record"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return parsed<RecordOptions>(arguments);
    }
};

TEST_F(CLIRecordTests, HasDefaults)
{
    const auto options = record({});
    EXPECT_EQ(options.displayIndex, 0);
    EXPECT_EQ(options.durationSeconds, 5.0);
    EXPECT_FALSE(options.recordUntilStopped);
    EXPECT_EQ(options.maxDurationSeconds, std::nullopt);
    EXPECT_EQ(options.framesPerSecond, 30);
    EXPECT_EQ(options.segmentSeconds, 4.0);
    EXPECT_TRUE(options.includeCursor);
    EXPECT_FALSE(options.recordEvents || options.captureSystemAudio || options.overwrite || options.stdoutJSON
        || options.revealOutput);
    EXPECT_EQ(options.microphoneDeviceID, std::nullopt);
    EXPECT_EQ(options.stopFileURL, std::nullopt);
    EXPECT_FALSE(options.upload.has_value());
    EXPECT_EQ(options.captureRegion, std::nullopt);
    EXPECT_EQ(options.captureWindowId, std::nullopt);
    EXPECT_EQ(options.exceptWindowId, std::nullopt);
}

TEST_F(CLIRecordTests, WritesToATimestampedDirectoryBelowTheCurrentOneByDefault)
{
    const auto directory = record({}).outputDirectory;
    EXPECT_EQ(directory.parent_path(), here(".glimto-runs"));
    EXPECT_TRUE(std::regex_match(directory.filename().string(), std::regex("capture-\\d{8}-\\d{6}")))
        << directory.filename();
}

TEST_F(CLIRecordTests, TakesEveryOption)
{
    const auto options = record({"-d", "2.5", "--until-stopped", "--max-duration-seconds", "60", "-o",
        "/takes/a", "--display", "1", "-r", "60", "--segment-duration", "2", "--system-audio", "--microphone",
        " mic \n", "--except-window-id", "7", "-w", "--stop-file", "/tmp/stop", "--stdout-json", "--reveal"});
    EXPECT_EQ(options.durationSeconds, 2.5);
    EXPECT_TRUE(options.recordUntilStopped);
    EXPECT_EQ(options.maxDurationSeconds, 60.0);
    EXPECT_EQ(options.outputDirectory, "/takes/a");
    EXPECT_EQ(options.displayIndex, 1);
    EXPECT_EQ(options.framesPerSecond, 60);
    EXPECT_EQ(options.segmentSeconds, 2.0);
    EXPECT_TRUE(options.captureSystemAudio);
    EXPECT_EQ(options.microphoneDeviceID, "mic");
    EXPECT_EQ(options.exceptWindowId, 7U);
    EXPECT_TRUE(options.overwrite);
    EXPECT_EQ(options.stopFileURL, "/tmp/stop");
    EXPECT_TRUE(options.stdoutJSON);
    EXPECT_TRUE(options.revealOutput);
    EXPECT_TRUE(options.includeCursor);
}

TEST_F(CLIRecordTests, ShortFlagsHaveLongForms)
{
    const auto options = record({"--duration", "1", "--output", "take", "--framerate", "24", "--overwrite"});
    EXPECT_EQ(options.durationSeconds, 1.0);
    EXPECT_EQ(options.outputDirectory, here("take"));
    EXPECT_EQ(options.framesPerSecond, 24);
    EXPECT_TRUE(options.overwrite);
}

TEST_F(CLIRecordTests, HidesTheCursorWhenToldAndWhenEventsAreRecorded)
{
    EXPECT_FALSE(record({"--no-cursor"}).includeCursor);
    EXPECT_FALSE(record({"--no-cursor"}).recordEvents);
    EXPECT_FALSE(record({"--record-events"}).includeCursor);
    EXPECT_TRUE(record({"--record-events"}).recordEvents);
}

TEST_F(CLIRecordTests, NamesAnUnknownOption)
{
    EXPECT_EQ(failure({"record", "--fps", "5"}), "Unknown record option '--fps'. Run `glimto-capture help`.");
    EXPECT_EQ(failure({"record", "out"}), "Unknown record option 'out'. Run `glimto-capture help`.");
    EXPECT_EQ(failure({"record", "--duration=5"}),
        "Unknown record option '--duration=5'. Run `glimto-capture help`.");
}

TEST_F(CLIRecordTests, AnAccessKeyIsNotTold)
{
    for (const std::string command : {"record", "upload"}) {
        EXPECT_EQ(failure({command, "--access-key=secret"}),
            "Unknown " + command + " option '--access-key=...'. Run `glimto-capture help`.");
    }
}

TEST_F(CLIRecordTests, NamesTheFlagWithoutAValueAsTyped)
{
    for (const char* flag : {"-d", "--duration", "--max-duration-seconds", "-o", "--output", "--display",
             "-r", "--framerate", "--segment-duration", "--microphone", "--region", "--window-id",
             "--except-window-id", "--stop-file", "--api-base-url", "--access-key", "--recording-id",
             "--background-upload-threshold"})
        EXPECT_EQ(failure({"record", flag}), "Missing value for " + std::string(flag) + ".");
}

TEST_F(CLIRecordTests, TakesAValueWhateverItLooksLike)
{
    EXPECT_EQ(record({"-o", "--overwrite"}).outputDirectory, here("--overwrite"));
    EXPECT_EQ(failure({"record", "-d", "--until-stopped"}), "Invalid number '--until-stopped' for -d.");
}

TEST_F(CLIRecordTests, DurationsMustBeGreaterThanZero)
{
    EXPECT_EQ(failure({"record", "-d", "0"}), "-d must be greater than 0.");
    EXPECT_EQ(failure({"record", "--duration", "-1"}), "--duration must be greater than 0.");
    EXPECT_EQ(
        failure({"record", "--max-duration-seconds", "0"}), "--max-duration-seconds must be greater than 0.");
    EXPECT_EQ(failure({"record", "--segment-duration", "0"}), "--segment-duration must be greater than 0.");
}

TEST_F(CLIRecordTests, NumbersAreFiniteDecimals)
{
    for (const std::string text :
        {"", " 5", "5 ", "5s", "five", "nan", "inf", "-inf", "0x10", "1e999", "1,5", ".", "1e", "+"})
        EXPECT_EQ(failure({"record", "-d", text}), "Invalid number '" + text + "' for -d.");
    EXPECT_EQ(record({"-d", "1e1"}).durationSeconds, 10.0);
    EXPECT_EQ(record({"-d", "+.5"}).durationSeconds, 0.5);
    EXPECT_EQ(record({"-d", "5."}).durationSeconds, 5.0);
}

// Writes one and a half as "1,5" and ten thousand as "10.000".
class CommaForPoint : public std::numpunct<char> {
protected:
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST_F(CLIRecordTests, NumbersDoNotDependOnTheLocale)
{
    const std::locale previous = std::locale::global(std::locale(std::locale::classic(), new CommaForPoint));
    const double duration = record({"-d", "1.5"}).durationSeconds;
    const auto region = record({"--region", "0.25,0,10000,24.5"}).captureRegion;
    const std::string message = failure({"record", "--window-id", "0"});
    std::locale::global(previous);
    EXPECT_EQ(duration, 1.5);
    EXPECT_EQ(region, (CaptureRegion{0.25, 0, 10000, 24.5}));
    EXPECT_EQ(message, "--window-id must be an integer between 1 and 4294967295.");
}

TEST_F(CLIRecordTests, IntegersAreDecimalDigitsWithAnOptionalSign)
{
    for (const std::string text :
        {"", " 1", "1 ", "1.0", "0x1", "one", "1e3", "+", "-", "--1", "99999999999999999999"})
        EXPECT_EQ(
            failure({"record", "--framerate", text}), "Invalid integer '" + text + "' for --framerate.");
    EXPECT_EQ(record({"--framerate", "+25"}).framesPerSecond, 25);
    EXPECT_EQ(record({"--framerate", "007"}).framesPerSecond, 7);
}

TEST_F(CLIRecordTests, FramerateLiesBetween1And120)
{
    EXPECT_EQ(failure({"record", "--framerate", "0"}), "--framerate must be between 1 and 120.");
    EXPECT_EQ(failure({"record", "-r", "121"}), "-r must be between 1 and 120.");
    EXPECT_EQ(failure({"record", "-r", "3000000000"}), "-r must be between 1 and 120.");
    EXPECT_EQ(record({"-r", "1"}).framesPerSecond, 1);
    EXPECT_EQ(record({"-r", "120"}).framesPerSecond, 120);
}

TEST_F(CLIRecordTests, StopFileIsLookedForWhereTheSystemFindsIt)
{
    EXPECT_EQ(record({"--stop-file", "link/../stop"}).stopFileURL, here("link/../stop"));
}

TEST_F(CLIRecordTests, DisplayIsAnIndex)
{
    EXPECT_EQ(failure({"record", "--display", "-1"}), "--display must be 0 or greater.");
    EXPECT_EQ(record({"--display", "3000000000"}).displayIndex, 3000000000);
}

TEST_F(CLIRecordTests, MicrophoneNeedsADeviceID)
{
    EXPECT_EQ(failure({"record", "--microphone", " \n"}), "--microphone requires a device id.");
}

TEST_F(CLIRecordTests, RegionIsFourNumbers)
{
    EXPECT_EQ(record({"--region", " 10, 20 ,300,200"}).captureRegion, (CaptureRegion{10, 20, 300, 200}));
    EXPECT_EQ(record({"--region", "-1.5,,0,24,\n24,"}).captureRegion, (CaptureRegion{-1.5, 0, 24, 24}));
    for (const char* text :
        {"1,2,3", "1,2,3,4,5", "", "a,2,30,40", "1, ,30,40", "nan,0,30,40", "0,0,inf,40", "0,0,1e999,40"})
        EXPECT_EQ(
            failure({"record", "--region", text}), "--region must be four finite numbers: x,y,width,height.")
            << text;
}

TEST_F(CLIRecordTests, RegionIsAtLeast24PointsWideAndHigh)
{
    EXPECT_EQ(
        failure({"record", "--region", "0,0,23,100"}), "--region width and height must be at least 24.");
    EXPECT_EQ(
        failure({"record", "--region", "0,0,100,23.9"}), "--region width and height must be at least 24.");
    EXPECT_EQ(
        failure({"record", "--region", "0,0,-100,100"}), "--region width and height must be at least 24.");
}

TEST_F(CLIRecordTests, WindowIDsArePositive32BitIntegers)
{
    EXPECT_EQ(record({"--window-id", "4294967295"}).captureWindowId, 4294967295U);
    for (const char* text : {"0", "4294967296", "012", "-1", "+1", "1.0", " 1", "", "0x10"})
        EXPECT_EQ(failure({"record", "--window-id", text}),
            "--window-id must be an integer between 1 and 4294967295.")
            << text;
    EXPECT_EQ(failure({"record", "--except-window-id", "x"}),
        "--except-window-id must be an integer between 1 and 4294967295.");
}

TEST_F(CLIRecordTests, TheLastCaptureSourceWins)
{
    const auto display = record({"--region", "0,0,30,30", "--window-id", "5", "--display", "1"});
    EXPECT_EQ(display.captureRegion, std::nullopt);
    EXPECT_EQ(display.captureWindowId, std::nullopt);
    EXPECT_EQ(display.displayIndex, 1);

    const auto region = record({"--display", "1", "--window-id", "5", "--region", "0,0,30,30"});
    EXPECT_EQ(region.captureRegion, (CaptureRegion{0, 0, 30, 30}));
    EXPECT_EQ(region.captureWindowId, std::nullopt);
    EXPECT_EQ(region.displayIndex, 1);

    const auto window = record({"--region", "0,0,30,30", "--window-id", "5"});
    EXPECT_EQ(window.captureRegion, std::nullopt);
    EXPECT_EQ(window.captureWindowId, 5U);
}

TEST_F(CLIRecordTests, AnExceptedWindowMayBeGivenWithAWindow)
{
    const auto options = record({"--window-id", "5", "--except-window-id", "6"});
    EXPECT_EQ(options.captureWindowId, 5U);
    EXPECT_EQ(options.exceptWindowId, 6U);
}

TEST_F(CLIRecordTests, UntilStoppedNeedsAStopFileAfterAllOtherOptionsWereAccepted)
{
    EXPECT_EQ(failure({"record", "--until-stopped"}), "--until-stopped requires --stop-file.");
    EXPECT_EQ(failure({"record", "--until-stopped", "-r", "0"}), "-r must be between 1 and 120.");
    EXPECT_TRUE(record({"--until-stopped", "--stop-file", "s"}).recordUntilStopped);
}

TEST_F(CLIRecordTests, UploadStartsFromTheDefaults)
{
    environment.variables["GLIMTO_DESKTOP_ACCESS_KEY"] = "";
    const auto upload = record({"--upload"}).upload;
    ASSERT_TRUE(upload.has_value());
    EXPECT_EQ(upload->accessKey, "");
    EXPECT_EQ(upload->apiBaseURL, "http://localhost:3000");
    EXPECT_EQ(upload->backgroundUploadThresholdSeconds, 3.0);
    EXPECT_EQ(upload->recordingId, std::nullopt);
}

TEST_F(CLIRecordTests, ThereIsNoAccessKeyWithoutTheVariable)
{
    EXPECT_EQ(record({"--upload"}).upload->accessKey, std::nullopt);
}

TEST_F(CLIRecordTests, EveryUploadSettingSwitchesTheUploadOn)
{
    const auto named = record({"--recording-id", "abc"}).upload;
    ASSERT_TRUE(named.has_value());
    EXPECT_EQ(named->recordingId, "abc");
    EXPECT_EQ(named->apiBaseURL, "http://localhost:3000");
    EXPECT_EQ(named->backgroundUploadThresholdSeconds, 3.0);
    EXPECT_EQ(record({"--api-base-url", "https://h"}).upload->apiBaseURL, "https://h");
    EXPECT_EQ(record({"--access-key", "k"}).upload->accessKey, "k");
    EXPECT_EQ(record({"--background-upload-threshold", "0.5"}).upload->backgroundUploadThresholdSeconds, 0.5);
    EXPECT_EQ(record({"--no-background-upload"}).upload->backgroundUploadThresholdSeconds, 0.0);
}

TEST_F(CLIRecordTests, UploadSettingsAddUp)
{
    environment.variables["GLIMTO_DESKTOP_ACCESS_KEY"] = "environment";
    const auto upload = record({"--recording-id", "abc", "--access-key", "given", "--upload",
                                   "--api-base-url", "http://h", "--no-background-upload"})
                            .upload;
    ASSERT_TRUE(upload.has_value());
    EXPECT_EQ(upload->recordingId, "abc");
    EXPECT_EQ(upload->accessKey, "given");
    EXPECT_EQ(upload->apiBaseURL, "http://h");
    EXPECT_EQ(upload->backgroundUploadThresholdSeconds, 0.0);
}

TEST_F(CLIRecordTests, UploadThresholdIsNotNegative)
{
    EXPECT_EQ(failure({"record", "--background-upload-threshold", "-0.1"}),
        "--background-upload-threshold must be 0 or greater.");
    EXPECT_EQ(record({"--background-upload-threshold", "0"}).upload->backgroundUploadThresholdSeconds, 0.0);
}

TEST_F(CLIRecordTests, BaseURLIsAWebAddress)
{
    for (const char* url : {"HTTP://host", "ftp://host", "host", "http:host", "http://", "https:///path", ""})
        EXPECT_EQ(failure({"record", "--api-base-url", url}), "--api-base-url must be an http or https URL.")
            << url;
}

} // namespace
} // namespace glimto
