#include "Upload/RecordingUploadClient.h"

#include <future>

#include "UploadTestSupport.h"
#include "Upload/TaskCancellationError.h"

namespace glimto {
namespace {

class RecordingUploadClientTests : public UploadTests {
protected:
    RecordingUploadClient client() { return {options, job, services, cancellation}; }

    // Changes one answer of the API.
    void changeAnswer(const std::string& request, const std::function<void(nlohmann::json&)>& change)
    {
        api.change = [=](const std::string& line, nlohmann::json& answer) {
            if (line == request)
                change(answer);
        };
    }

    void answerWith(const std::string& request, const HTTPResponse& response)
    {
        api.interrupt = [=](const std::string& line) {
            return line == request ? std::optional(response) : std::nullopt;
        };
    }

    std::string finishingFailure()
    {
        return failureOf([this] { client().finishUpload(take(), state); });
    }

    static constexpr const char* create = "POST /api/recordings";
    static constexpr const char* urls = "POST /api/recordings/rec/upload-urls";
    static constexpr const char* complete = "POST /api/recordings/rec/recording-complete";

    UploadCancellation cancellation;
    RecordingUploadRunState state;
};

TEST_F(RecordingUploadClientTests, TheRecordingIsMadeForTheJobsID)
{
    const auto response = client().prepareUpload(state);
    EXPECT_EQ(response.recording.recordingId, "rec");
    EXPECT_EQ(response.uploadInstructions.objectPrefix, "org/rec");
    EXPECT_EQ(state.preparedCreateResponse->recording.prefix, "org/rec");
    EXPECT_EQ(api.log(), std::vector<std::string>({create}));
    EXPECT_EQ(std::get<std::string>(transport.requests()[0].body), R"({"recordingId":"rec"})");
}

TEST_F(RecordingUploadClientTests, AnotherRecordingsAnswerIsRefused)
{
    changeAnswer(create, [](auto& answer) { answer["recording"]["recordingId"] = "other"; });
    EXPECT_EQ(
        failureOf([&] { client().prepareUpload(state); }), "Upload API returned a different recording ID.");
    EXPECT_FALSE(state.preparedCreateResponse);
}

TEST_F(RecordingUploadClientTests, PrefixesMustMatch)
{
    changeAnswer(create, [](auto& answer) { answer["recording"]["prefix"] = "org/other"; });
    EXPECT_EQ(failureOf([&] { client().prepareUpload(state); }),
        "API returned mismatched recording prefix and uploadInstructions.objectPrefix.");
    EXPECT_FALSE(state.preparedCreateResponse);
}

TEST_F(RecordingUploadClientTests, AnAnswerWithoutAFieldIsToldByItsField)
{
    changeAnswer(create,
        [](auto& answer) { answer["uploadInstructions"]["plannedUploads"]["required"][1].erase("key"); });
    EXPECT_EQ(failureOf([&] { client().prepareUpload(state); }),
        "Could not read the answer to the creation of the recording: "
        "uploadInstructions.plannedUploads.required[1].key is missing.");
}

TEST_F(RecordingUploadClientTests, AFinishedTakeIsSentWholeAndCompleted)
{
    writeTestTake(take(), 1, TakeSound::with);
    const auto result = client().finishUpload(take(), state);
    EXPECT_EQ(result.checkedObjectCount, 9);
    EXPECT_EQ(result.recording.state, "uploaded");
    EXPECT_EQ(object("segments/audio/segment_000.m4s"), "audio0");
    EXPECT_EQ(object("thumbnail.jpg"), "thumbnail");
    EXPECT_EQ(
        nlohmann::json::parse(object("manifest.json"))["playlistKey"], "org/rec/segments/playlist.m3u8");
    EXPECT_EQ(api.log().front(), create);
    EXPECT_EQ(api.log()[1], urls);
    EXPECT_EQ(api.log().back(), complete);
    EXPECT_EQ(std::get<std::string>(transport.requests().back().body), "{}");
}

TEST_F(RecordingUploadClientTests, URLsAreAskedForInThePlansOrder)
{
    writeTestTake(take(), 1);
    client().finishUpload(take(), state);
    EXPECT_EQ(std::get<std::string>(transport.requests()[1].body),
        R"({"expiresIn":300,"keys":["org/rec/manifest.json","org/rec/segments/video/init.mp4",)"
        R"("org/rec/segments/playlist.m3u8","org/rec/segments/video/segment_000.m4s","org/rec/thumbnail.jpg"]})");
    EXPECT_EQ(standardOutput.text(),
        "Uploaded object: org/rec/manifest.json\n"
        "Uploaded object: org/rec/segments/video/init.mp4\n"
        "Uploaded object: org/rec/segments/playlist.m3u8\n"
        "Uploaded object: org/rec/segments/video/segment_000.m4s\n"
        "Uploaded object: org/rec/thumbnail.jpg\n");
}

TEST_F(RecordingUploadClientTests, TheAccessKeyGoesToTheAPIOnly)
{
    writeTestTake(take(), 1);
    client().finishUpload(take(), state);
    for (const auto& request : transport.requests())
        EXPECT_EQ(request.originHeaders.size(), request.method == "PUT" ? 0U : 1U);
}

TEST_F(RecordingUploadClientTests, NothingIsAskedForWhenEverythingIsThere)
{
    writeTestTake(take(), 1);
    client().finishUpload(take(), state);
    const auto before = api.log().size();
    client().finishUpload(take(), state);
    EXPECT_EQ(api.log().size(), before + 1);
    EXPECT_EQ(api.log().back(), complete);
}

TEST_F(RecordingUploadClientTests, AMissingURLIsRefusedBeforeAnythingIsSent)
{
    writeTestTake(take(), 1);
    changeAnswer(urls, [](auto& answer) { answer["uploads"].erase(2); });
    EXPECT_EQ(
        finishingFailure(), "API did not return a signed upload URL for org/rec/segments/playlist.m3u8.");
    EXPECT_TRUE(api.objects().empty());
}

TEST_F(RecordingUploadClientTests, ADoubledURLIsFatal)
{
    writeTestTake(take(), 1);
    changeAnswer(urls, [](auto& answer) { answer["uploads"].push_back(answer["uploads"][0]); });
    EXPECT_EQ(finishingFailure(), "Duplicate values for key: 'org/rec/manifest.json'");
    EXPECT_TRUE(api.objects().empty());
}

TEST_F(RecordingUploadClientTests, URLsThatNobodyAskedForAreIgnored)
{
    writeTestTake(take(), 1);
    changeAnswer(urls, [](auto& answer) {
        auto other = answer["uploads"][0];
        other["key"] = "org/rec/other";
        answer["uploads"].push_back(other);
    });
    EXPECT_EQ(finishingFailure(), "no failure");
    EXPECT_EQ(object("other"), "none");
}

TEST_F(RecordingUploadClientTests, AFailedObjectFailsThePassAndKeepsWhatWasSent)
{
    writeTestTake(take(), 2);
    answerWith("PUT org/rec/segments/playlist.m3u8", {403, "signature secret"});
    EXPECT_EQ(finishingFailure(), "HTTP 403 for upload org/rec/segments/playlist.m3u8: request failed");
    EXPECT_TRUE(state.uploadedObjectKeys.contains("org/rec/manifest.json"));
    EXPECT_FALSE(state.uploadedObjectKeys.contains("org/rec/segments/playlist.m3u8"));
    EXPECT_THAT(api.log(), testing::Not(testing::Contains(complete)));
    api.interrupt = nullptr;
    EXPECT_EQ(finishingFailure(), "no failure");
    EXPECT_THAT(api.requestedKeys().back(), testing::Not(testing::Contains("org/rec/manifest.json")));
}

TEST_F(RecordingUploadClientTests, NeverMoreThanSixAreOnTheirWay)
{
    writeTestTake(take(), 5); // nine objects
    transport.holdPuts();
    auto upload = std::async(std::launch::async, [this] { client().finishUpload(take(), state); });
    for (const std::size_t held : {6U, 6U, 6U, 6U, 5U, 4U, 3U, 2U, 1U}) {
        ASSERT_TRUE(transport.waitUntilHeld(held));
        transport.releaseOne();
    }
    upload.get();
    EXPECT_EQ(transport.mostHeld(), 6U);
    EXPECT_EQ(api.objects().size(), 9U);
}

TEST_F(RecordingUploadClientTests, ACancelledPassTakesBackWhatIsOnItsWay)
{
    writeTestTake(take(), 5);
    transport.holdPuts();
    auto upload = std::async(std::launch::async, [this] { client().finishUpload(take(), state); });
    ASSERT_TRUE(transport.waitUntilHeld(6));
    cancellation.cancel();
    EXPECT_THROW(upload.get(), TaskCancellationError);
    EXPECT_TRUE(transport.waitUntilHeld(0));
    EXPECT_TRUE(api.objects().empty());
}

TEST_F(RecordingUploadClientTests, URLsAreAskedForAgainBeforeTheyExpire)
{
    writeTestTake(take(), 5);
    clock.step = std::chrono::seconds(100);
    client().finishUpload(take(), state);
    ASSERT_GT(api.requestedKeys().size(), 1U);
    EXPECT_EQ(api.requestedKeys()[0].size(), 9U);
    EXPECT_EQ(api.requestedKeys()[1].size(), 7U);
    EXPECT_EQ(api.objects().size(), 9U);
}

TEST_F(RecordingUploadClientTests, TheMarkerStopsEveryOperationBeforeItsRequest)
{
    writeTestTake(take(), 1);
    cancel();
    EXPECT_THROW(client().prepareUpload(state), TaskCancellationError);
    EXPECT_THROW(client().finishUpload(take(), state), TaskCancellationError);
    EXPECT_THROW(client().uploadInBackground(take(), state), TaskCancellationError);
    EXPECT_THROW(client().completeRemoteUpload("rec"), TaskCancellationError);
    EXPECT_THROW(client().readCompletedUpload(), TaskCancellationError);
    EXPECT_TRUE(api.log().empty());
}

TEST_F(RecordingUploadClientTests, TheMarkerStopsAnUploadBetweenItsRequests)
{
    writeTestTake(take(), 1);
    const std::vector<std::string> all = {create, urls, "PUT org/rec/manifest.json",
        "PUT org/rec/segments/video/init.mp4", "PUT org/rec/segments/playlist.m3u8",
        "PUT org/rec/segments/video/segment_000.m4s", "PUT org/rec/thumbnail.jpg", complete};
    for (std::size_t count = 1; count < all.size(); ++count) {
        RecordingUploadRunState fresh;
        std::filesystem::remove(take() / ".upload-canceled");
        const std::size_t before = api.log().size();
        api.interrupt = [&](const std::string&) -> std::optional<HTTPResponse> {
            if (api.log().size() == before + count)
                cancel();
            return std::nullopt;
        };
        EXPECT_THROW(client().finishUpload(take(), fresh), TaskCancellationError);
        EXPECT_EQ(api.log().size(), before + count);
    }
}

TEST_F(RecordingUploadClientTests, ACompletionOfAnotherRecordingIsRefused)
{
    writeTestTake(take(), 1);
    changeAnswer(complete, [](auto& answer) { answer["recording"]["recordingId"] = "other"; });
    EXPECT_EQ(finishingFailure(), "Upload completion returned a different recording ID.");
}

TEST_F(RecordingUploadClientTests, AnUploadThatTheServerHasWholeIsCompletedAgain)
{
    client().prepareUpload(state);
    EXPECT_FALSE(client().readCompletedUpload());
    api.recordingState = "uploaded";
    EXPECT_EQ(client().readCompletedUpload()->recording.state, "uploaded");
    EXPECT_EQ(api.log()[2], "GET /api/recordings/rec");
    EXPECT_EQ(api.log()[3], complete);
    changeAnswer("GET /api/recordings/rec", [](auto& answer) { answer["recording"]["recordingId"] = "x"; });
    EXPECT_EQ(failureOf([&] { client().readCompletedUpload(); }),
        "Recording status returned a different recording ID.");
}

TEST_F(RecordingUploadClientTests, ABackgroundPassSendsWhatIsFinished)
{
    writeTestFile(take() / "segments/video/init.mp4", "init");
    writeTestSegment(take(), "video", 0);
    writeTestSegment(take(), "video", 1);
    writeTestSegment(take(), "audio", 0);
    EXPECT_EQ(client().uploadInBackground(take(), state), 4U);
    EXPECT_EQ(object("segments/video/segment_001.m4s"), "video1");
    EXPECT_TRUE(state.pendingSegmentObjectKeys.empty());
    EXPECT_EQ(client().uploadInBackground(take(), state), 0U);
    writeTestSegment(take(), "video", 2);
    EXPECT_EQ(client().uploadInBackground(take(), state), 1U);
    EXPECT_EQ(
        api.requestedKeys().back(), std::vector<std::string>({"org/rec/segments/video/segment_002.m4s"}));
}

TEST_F(RecordingUploadClientTests, ASegmentWhosePassFailedIsSentByTheNext)
{
    writeTestSegment(take(), "video", 0);
    answerWith("PUT org/rec/segments/video/segment_000.m4s", {500, ""});
    EXPECT_THROW(client().uploadInBackground(take(), state), CLIError);
    api.interrupt = nullptr;
    EXPECT_EQ(client().uploadInBackground(take(), state), 1U);
}

TEST_F(RecordingUploadClientTests, WhatWentInTheBackgroundIsNotSentAgain)
{
    writeTestTake(take(), 1);
    EXPECT_EQ(client().uploadInBackground(take(), state), 3U);
    client().finishUpload(take(), state);
    EXPECT_EQ(api.requestedKeys().back(),
        std::vector<std::string>({"org/rec/manifest.json", "org/rec/segments/playlist.m3u8"}));
}

TEST_F(RecordingUploadClientTests, KeysOfAServerMakeNoLinesOfTheirOwn)
{
    writeTestTake(take(), 1);
    changeAnswer(create, [](auto& answer) {
        auto text = answer.dump();
        for (std::size_t at = text.find("org/rec"); at != std::string::npos;
             at = text.find("org/rec", at + 11))
            text.replace(at, 7, "o\\nSTATUS=x");
        answer = nlohmann::json::parse(text);
        answer["uploadInstructions"]["allowedSegmentKeyPatterns"]["video"]["regex"] = "segment";
    });
    EXPECT_EQ(finishingFailure(), "API returned an invalid signed upload URL for o STATUS=x/manifest.json.");
}

} // namespace
} // namespace glimto
