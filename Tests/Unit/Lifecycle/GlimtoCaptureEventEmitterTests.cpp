#include "Lifecycle/GlimtoCaptureEventEmitter.h"

#include <chrono>
#include <string>

#include <gtest/gtest.h>

#include "Fakes/FakeLineOutput.h"

namespace glimto {
namespace {

using Emitter = GlimtoCaptureEventEmitter;

class GlimtoCaptureEventEmitterTests : public testing::Test {
protected:
    // 2024-01-31T15:45:02.123Z
    std::chrono::system_clock::time_point now{std::chrono::milliseconds(1706715902123)};
    FakeLineOutput output;
    Emitter emitter{output, [this] { return now; }};
};

TEST_F(GlimtoCaptureEventEmitterTests, WritesAnEventAsOneLineWithoutAbsentFields)
{
    emitter.emit({.kind = "launched"});
    EXPECT_EQ(output.text(),
        R"({"kind":"launched","schemaVersion":1,"timestamp":"2024-01-31T15:45:02.123Z","type":"recording_lifecycle"})"
        "\n");
}

TEST_F(GlimtoCaptureEventEmitterTests, WritesEveryFieldWithSortedKeysAndPlainSlashes)
{
    emitter.emit({.kind = "recording_failed",
        .recordingId = "abc",
        .pageUrl = "http://host:3000/recordings/abc",
        .permission = ScreenCapturePermissionJSON::fromPreflight(false),
        .error = GlimtoCaptureEventError("window_not_found", {"Window is gone.", "CLIError", "X11", 3}),
        .stage = "shareable_content",
        .state = "failed",
        .checkedObjectCount = 12,
        .limitSeconds = 60});
    EXPECT_EQ(output.text(),
        R"({"checkedObjectCount":12,)"
        R"("error":{"code":"window_not_found","domain":"X11","message":"Window is gone.","nsCode":3,"type":"CLIError"},)"
        R"("kind":"recording_failed","limitSeconds":60,"pageUrl":"http://host:3000/recordings/abc",)"
        R"("permission":{"preflightGranted":false,"screenRecording":"denied"},"recordingId":"abc",)"
        R"("schemaVersion":1,"stage":"shareable_content","state":"failed",)"
        R"("timestamp":"2024-01-31T15:45:02.123Z","type":"recording_lifecycle"})"
        "\n");
}

TEST_F(GlimtoCaptureEventEmitterTests, DropsAnEventThatCannotBeEncoded)
{
    emitter.emit({.kind = "launched", .recordingId = "\xFF"});
    EXPECT_TRUE(output.lines().empty());
}

TEST_F(GlimtoCaptureEventEmitterTests, WritesStatusLines)
{
    emitter.emitStatus("recording");
    EXPECT_EQ(output.text(), "GLIMTO_RECORDING_STATUS=recording\n");
}

TEST_F(GlimtoCaptureEventEmitterTests, StampsTheCurrentTimeByItself)
{
    Emitter(output).emit({.kind = "launched"});
    const auto event = nlohmann::json::parse(output.lines().front());
    EXPECT_GT(event["timestamp"].get<std::string>(), "2024-01-31T15:45:02.123Z");
}

RecordOptions withRecordingId(const std::optional<std::string>& id)
{
    RecordOptions options;
    options.upload = RecordingUploadOptions();
    options.upload->recordingId = id;
    return options;
}

TEST_F(GlimtoCaptureEventEmitterTests, TrimsTheRecordingId)
{
    EXPECT_EQ(Emitter::recordingId(withRecordingId("  abc \n")), "abc");
}

TEST_F(GlimtoCaptureEventEmitterTests, HasNoRecordingIdWithoutUploadOrText)
{
    EXPECT_EQ(Emitter::recordingId(RecordOptions()), std::nullopt);
    EXPECT_EQ(Emitter::recordingId(withRecordingId(std::nullopt)), std::nullopt);
    EXPECT_EQ(Emitter::recordingId(withRecordingId("   ")), std::nullopt);
}

TEST_F(GlimtoCaptureEventEmitterTests, PageAddressHasOneSlashBetweenComponents)
{
    EXPECT_EQ(Emitter::recordingPageURL("http://host:3000", "abc"), "http://host:3000/recordings/abc");
    EXPECT_EQ(Emitter::recordingPageURL("http://host:3000/", " abc\n"), "http://host:3000/recordings/abc");
    EXPECT_EQ(Emitter::recordingPageURL("https://host/base/", "abc"), "https://host/base/recordings/abc");
}

TEST_F(GlimtoCaptureEventEmitterTests, PageAddressEscapesTheIdAsOnePathSegment)
{
    EXPECT_EQ(Emitter::recordingPageURL("http://host", "a/b ?#\u00E9%"),
        "http://host/recordings/a%2Fb%20%3F%23%C3%A9%25");
    EXPECT_EQ(
        Emitter::recordingPageURL("http://host", "rec_a-B.9~@=:"), "http://host/recordings/rec_a-B.9~@=:");
}

TEST_F(GlimtoCaptureEventEmitterTests, PageAddressKeepsAQueryBehindThePath)
{
    EXPECT_EQ(Emitter::recordingPageURL("http://host/?team=1", "abc"), "http://host/recordings/abc?team=1");
}

TEST_F(GlimtoCaptureEventEmitterTests, HasNoPageAddressWithoutAnId)
{
    EXPECT_EQ(Emitter::recordingPageURL("http://host", std::nullopt), std::nullopt);
    EXPECT_EQ(Emitter::recordingPageURL("http://host", " \n"), std::nullopt);
}

TEST_F(GlimtoCaptureEventEmitterTests, TrimmedTextIsAbsentWhenEmpty)
{
    EXPECT_EQ(Emitter::trimmedNonEmpty(" a "), "a");
    EXPECT_EQ(Emitter::trimmedNonEmpty("\t"), std::nullopt);
    EXPECT_EQ(Emitter::trimmedNonEmpty(std::nullopt), std::nullopt);
}

const ErrorFacts someError = {"lost", "PlatformError", "X11", 3};
const ErrorFacts declined = {"declined", "PlatformError", "com.glimto.capture.stream", -3801};

TEST_F(GlimtoCaptureEventEmitterTests, AnErrorWithoutPermissionHasThePermissionCode)
{
    const auto denied = ScreenCapturePermissionJSON::fromPreflight(false);
    EXPECT_EQ(Emitter::errorCode(someError, denied, "recording_failed"), "screen_permission_denied");
}

TEST_F(GlimtoCaptureEventEmitterTests, ADeclinedCaptureHasThePermissionCode)
{
    const auto granted = ScreenCapturePermissionJSON::fromPreflight(true);
    EXPECT_EQ(Emitter::errorCode(declined, granted, "recording_failed"), "screen_permission_denied");
    EXPECT_EQ(Emitter::errorCode(declined, std::nullopt, "recording_failed"), "screen_permission_denied");
}

TEST_F(GlimtoCaptureEventEmitterTests, AnyOtherErrorHasTheFallbackCode)
{
    const auto granted = ScreenCapturePermissionJSON::fromPreflight(true);
    EXPECT_EQ(Emitter::errorCode(someError, granted, "recording_failed"), "recording_failed");
    EXPECT_EQ(Emitter::errorCode(someError, std::nullopt, "screenshot_failed"), "screenshot_failed");
    EXPECT_EQ(Emitter::errorCode({"", "", "com.glimto.capture.stream", -3802}, granted, "recording_failed"),
        "recording_failed");
}

} // namespace
} // namespace glimto
