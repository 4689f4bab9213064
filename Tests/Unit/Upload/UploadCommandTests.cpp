#include "Upload/UploadCommand.h"

#include "UploadTestSupport.h"
#include "Upload/RecordingUploadReport.h"
#include "Upload/TaskCancellationError.h"

namespace glimto {
namespace {

using State = RecordingUploadJob::State;

// A take whose recording process has ended, so that nobody owns it.
class UploadCommandTests : public testing::Test {
protected:
    UploadCommandTests()
    {
        store(TakeUse::capturing).setState(State::failed, "no network");
        writeTestTake(take(), 1);
    }

    RecordingUploadJobStore store(TakeUse use = TakeUse::uploading) const
    {
        return {take(), options.upload, use, std::nullopt};
    }

    void upload() { uploadRecording(options, services, std::nullopt); }

    std::filesystem::path take() const { return directory.path() / "take"; }

    // Standard output with the events' time stamps taken out.
    std::string output() const
    {
        std::string text;
        for (const auto& line : standardOutput.lines()) {
            if (line.starts_with('{')) {
                auto event = nlohmann::json::parse(line);
                event.erase("timestamp");
                text += event.dump() + "\n";
            } else {
                text += line + "\n";
            }
        }
        return text;
    }

    TemporaryDirectory directory;
    UploadRecordingOptions options{.outputDirectory = directory.path() / "take",
        .upload = {.accessKey = "key", .apiBaseURL = FakeRecordingAPI::address, .recordingId = "rec"}};
    FakeHTTPTransport transport;
    FakeRecordingAPI api{transport};
    FakeTextPatternCompiler patterns;
    FakeUploadClock clock;
    FakeStopRequests stopRequests;
    FakeLineOutput standardOutput;
    FakeLineOutput standardError;
    UploadServices services{transport, patterns, clock, stopRequests, {standardOutput, standardError}};
};

TEST_F(UploadCommandTests, AnUploadIsToldInOrder)
{
    upload();
    EXPECT_EQ(output(),
        "GLIMTO_RECORDING_STATUS=uploading\n"
        "Uploaded object: org/rec/manifest.json\n"
        "Uploaded object: org/rec/segments/video/init.mp4\n"
        "Uploaded object: org/rec/segments/playlist.m3u8\n"
        "Uploaded object: org/rec/segments/video/segment_000.m4s\n"
        "Uploaded object: org/rec/thumbnail.jpg\n"
        "Uploaded recording: rec\n"
        "State: uploaded\n"
        "Checked objects: 5\n"
        R"({"checkedObjectCount":5,"kind":"page_url","pageUrl":"http://api.localhost/recordings/rec",)"
        R"("recordingId":"rec","schemaVersion":1,"state":"uploaded","type":"recording_lifecycle"})"
        "\n"
        "GLIMTO_RECORDING_STATUS=uploaded\n");
    EXPECT_EQ(standardError.text(), "");
    EXPECT_EQ(store().read().state, State::completed);
    EXPECT_EQ(store().read().lastError, std::nullopt);
    EXPECT_EQ(store().read().uploadAttempts, 1U);
}

TEST_F(UploadCommandTests, AFailureLeavesAFailedJobThatCanBeTriedAgain)
{
    api.interrupt = [](const std::string& line) {
        return line.ends_with("recording-complete") ? std::optional(HTTPResponse{503, "later"})
                                                    : std::nullopt;
    };
    EXPECT_EQ(failureOf([this] { upload(); }), "HTTP 503 for /api/recordings/rec/recording-complete: later");
    EXPECT_THAT(output(),
        testing::EndsWith(
            "Uploaded object: org/rec/thumbnail.jpg\n"
            R"({"error":{"code":"upload_failed","domain":"GlimtoCapture.CLIError",)"
            R"("message":"HTTP 503 for /api/recordings/rec/recording-complete: later","nsCode":1,"type":"CLIError"},)"
            R"("kind":"upload_failed","recordingId":"rec","schemaVersion":1,"state":"failed","type":"recording_lifecycle"})"
            "\n"
            "GLIMTO_RECORDING_STATUS=failed\n"));
    EXPECT_EQ(store().read().state, State::failed);
    EXPECT_EQ(store().read().lastError, "HTTP 503 for /api/recordings/rec/recording-complete: later");

    api.interrupt = nullptr;
    upload();
    EXPECT_EQ(store().read().state, State::completed);
    EXPECT_EQ(store().read().uploadAttempts, 2U);
    EXPECT_EQ(api.requestedKeys().back().size(), 5U);
}

TEST_F(UploadCommandTests, WithoutTheModuleOfTheNetworkTheUploadFailsAndSaysSo)
{
    LoadableModule module("glimto-capture-network.so", {"/nonexistent"}, "The network");
    services.transport = Service<HTTPTransport>(module);
    const std::string missing
        = "The network is not available: glimto-capture-network.so is missing beside the program.";
    EXPECT_EQ(failureOf([this] { upload(); }), missing);
    EXPECT_EQ(store().read().state, State::failed);
    EXPECT_EQ(store().read().lastError, missing);
}

TEST_F(UploadCommandTests, ACompletedTakeIsNotUploadedAgain)
{
    upload();
    const auto before = testFileText(take() / "upload-job.json");
    const auto lines = standardOutput.lines().size();
    const auto requests = api.log().size();
    EXPECT_EQ(failureOf([this] { upload(); }), "Recording job is not pending upload.");
    EXPECT_EQ(testFileText(take() / "upload-job.json"), before);
    EXPECT_EQ(standardOutput.lines().size(), lines);
    EXPECT_EQ(api.log().size(), requests);
}

TEST_F(UploadCommandTests, AnotherKeyIsRefusedBeforeAnyRequest)
{
    options.upload.accessKey = "other";
    EXPECT_EQ(failureOf([this] { upload(); }),
        "Recording upload destination or credential does not match its original job.");
    EXPECT_TRUE(api.log().empty());
    EXPECT_EQ(standardOutput.text(), "");
}

// What the server calls uploaded may be an earlier take of the same ID.
TEST_F(UploadCommandTests, AnInterruptedUploadIsSentWholeWhateverTheServerHas)
{
    upload();
    store().setState(State::uploading);
    writeTestFile(take() / "thumbnail.jpg", "another take");
    upload();
    EXPECT_EQ(api.log().size(), 16U);
    EXPECT_EQ(api.log()[8], "POST /api/recordings");
    EXPECT_EQ(api.objects().at("org/rec/thumbnail.jpg"), "another take");
    EXPECT_EQ(store().read().state, State::completed);
    EXPECT_EQ(store().read().uploadAttempts, 2U);
}

TEST_F(UploadCommandTests, ACancellationInMidUploadIsNoFailureOfTheJob)
{
    api.interrupt = [this](const std::string& line) -> std::optional<HTTPResponse> {
        if (line == "PUT org/rec/segments/video/init.mp4")
            writeTestFile(take() / ".upload-canceled", "");
        return std::nullopt;
    };
    EXPECT_THROW(upload(), TaskCancellationError);
    std::filesystem::remove(take() / ".upload-canceled");
    EXPECT_EQ(store().read().state, State::canceled);
    EXPECT_EQ(failureOf([this] { upload(); }), "Recording job is not pending upload.");
}

TEST_F(UploadCommandTests, AnotherIDOnTheCommandLineIsOnlyAWarning)
{
    options.upload.recordingId = "other";
    upload();
    EXPECT_EQ(standardError.text(), "warning: the take belongs to recording rec and is uploaded as that.\n");
    EXPECT_TRUE(api.objects().contains("org/rec/manifest.json"));
}

TEST_F(UploadCommandTests, ATakeThatWasNeverFinishedSaysWhatIsMissing)
{
    std::filesystem::remove(take() / "manifest.json");
    EXPECT_EQ(failureOf([this] { upload(); }),
        "Could not read " + (take() / "manifest.json").string() + ": No such file or directory");
    EXPECT_EQ(store().read().state, State::failed);
}

TEST_F(UploadCommandTests, AStateOfTheServerMakesNoLinesOfItsOwn)
{
    api.change = [](const std::string& line, nlohmann::json& answer) {
        if (line.ends_with("recording-complete"))
            answer["recording"]["state"] = "x\nGLIMTO_RECORDING_STATUS=recording";
    };
    upload();
    const auto lines = standardOutput.lines();
    EXPECT_THAT(lines, testing::Not(testing::Contains(testing::HasSubstr("\n"))));
    EXPECT_EQ(lines.back(), "GLIMTO_RECORDING_STATUS=x GLIMTO_RECORDING_STATUS=recording");
}

TEST(RecordingUploadReportTests, WithoutABaseURLThereIsNoPage)
{
    FakeLineOutput output;
    RecordingCompleteResponse result;
    result.recording.recordingId = "rec";
    result.recording.state = "processing";
    result.checkedObjectCount = 3;
    reportRecordingUploadCompletion(result, std::nullopt, output);
    const auto lines = output.lines();
    ASSERT_EQ(lines.size(), 5U);
    EXPECT_EQ(lines[2], "Checked objects: 3");
    EXPECT_FALSE(nlohmann::json::parse(lines[3]).contains("pageUrl"));
    EXPECT_EQ(lines[4], "GLIMTO_RECORDING_STATUS=processing");
}

} // namespace
} // namespace glimto
