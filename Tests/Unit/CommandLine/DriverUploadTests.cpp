#include "DriverFixture.h"

#include <algorithm>
#include <functional>

#include <gmock/gmock.h>

#include "Fakes/FakeRecordingAPI.h"
#include "Upload/RecordingUploadJobStore.h"

namespace glimto {
namespace {

using State = RecordingUploadJob::State;

class DriverUploadTests : public DriverFixture {
protected:
    DriverUploadTests()
    {
        process.variables["GLIMTO_DESKTOP_ACCESS_KEY"] = "key";
        process.variables["HOME"] = directory.path() / "home";
    }

    int recordAndUpload(std::vector<std::string> options = {})
    {
        const std::vector<std::string> more
            = {"--api-base-url", FakeRecordingAPI::address, "--no-background-upload"};
        options.insert(options.end(), more.begin(), more.end());
        return record(options);
    }

    int upload(const std::string& id = "rec")
    {
        return run({"upload", "--dir", take().string(), "--api-base-url", FakeRecordingAPI::address,
            "--recording-id", id});
    }

    // Standard output with time stamps, and what other tests look at, taken out.
    std::vector<std::string> told() const
    {
        std::vector<std::string> lines;
        for (const auto& line : standardOutput.lines()) {
            if (!line.starts_with('{')) {
                lines.push_back(line);
                continue;
            }
            auto event = nlohmann::json::parse(line);
            for (const char* key : {"timestamp", "permission", "schemaVersion", "type"})
                event.erase(key);
            lines.push_back(event.dump());
        }
        return lines;
    }

    RecordingUploadJob job() const
    {
        std::ifstream file(take() / "upload-job.json");
        return decodeRecordingUploadJob(std::string(std::istreambuf_iterator<char>(file), {}));
    }

    void failAt(const std::string& request)
    {
        api.interrupt = [request](const std::string& line) {
            return line == request ? std::optional(HTTPResponse{500, "broken"}) : std::nullopt;
        };
    }

    std::string root() const { return take().string(); }

    FakeRecordingAPI api{network.http};
};

TEST_F(DriverUploadTests, ARecordingWithItsUploadIsToldInOrder)
{
    EXPECT_EQ(recordAndUpload({"--recording-id", " rec "}), 0) << standardError.text();
    EXPECT_THAT(told(),
        testing::ElementsAre(
            R"({"kind":"launched","pageUrl":"http://api.localhost/recordings/rec","recordingId":"rec"})",
            R"({"kind":"page_url","pageUrl":"http://api.localhost/recordings/rec","recordingId":"rec"})",
            "Glimto upload: recording session ready",
            R"({"kind":"capture_starting","recordingId":"rec","stage":"shareable_content"})",
            "Recording screen:0 for 5.0s", "Output: " + root(),
            "Video: H.264 fMP4, 640x480, 30 fps, ~4.0s segments", "Audio: none",
            "Stop file: " + (directory.path() / "stop").string(),
            R"({"kind":"capture_starting","recordingId":"rec","stage":"stream_start"})",
            R"({"kind":"recording","recordingId":"rec","state":"recording"})",
            "GLIMTO_RECORDING_STATUS=recording", "Stop file detected; finishing recording",
            R"({"kind":"stop_seen","recordingId":"rec"})",
            R"({"kind":"stopping_capture","recordingId":"rec"})", "Glimto stop: stopping capture stream",
            "GLIMTO_RECORDING_STATUS=stopped",
            R"({"kind":"finalizing","recordingId":"rec","state":"finalizing"})",
            "Glimto stop: finishing segment writer", "Glimto stop: waiting for thumbnail",
            "Glimto stop: writing playlists and manifest", "Captured 1 segment(s)",
            "Playlist: " + root() + "/segments/playlist.m3u8", "Manifest: " + root() + "/manifest.json",
            "Thumbnail: " + root() + "/thumbnail.jpg", "Verify: scripts/verify-media-contract.sh " + root(),
            R"({"kind":"completed","recordingId":"rec","state":"completed"})",
            "GLIMTO_RECORDING_STATUS=uploading", "Uploaded object: org/rec/manifest.json",
            "Uploaded object: org/rec/segments/video/init.mp4",
            "Uploaded object: org/rec/segments/playlist.m3u8",
            "Uploaded object: org/rec/segments/video/segment_000.m4s",
            "Uploaded object: org/rec/thumbnail.jpg", "Uploaded recording: rec", "State: uploaded",
            "Checked objects: 5",
            R"({"checkedObjectCount":5,"kind":"page_url","pageUrl":"http://api.localhost/recordings/rec",)"
            R"("recordingId":"rec","state":"uploaded"})",
            "GLIMTO_RECORDING_STATUS=uploaded"));
    EXPECT_EQ(standardError.text(), "");
    EXPECT_EQ(job().state, State::completed);
    EXPECT_EQ(job().uploadAttempts, 1U);
}

TEST_F(DriverUploadTests, AnIDThatIsMadeIsToldOnceItIsKnown)
{
    EXPECT_EQ(recordAndUpload(), 0) << standardError.text();
    const auto events = documents();
    EXPECT_EQ(events[0]["kind"], "launched");
    EXPECT_FALSE(events[0].contains("recordingId"));
    EXPECT_FALSE(events[0].contains("pageUrl"));
    EXPECT_EQ(events[1]["kind"], "capture_starting");
    EXPECT_EQ(events[1]["recordingId"], job().recordingId);
    EXPECT_EQ(events.back()["pageUrl"], "http://api.localhost/recordings/" + job().recordingId);
}

TEST_F(DriverUploadTests, MetadataAndRevealComeBeforeTheUpload)
{
    EXPECT_EQ(recordAndUpload({"--stdout-json", "--reveal"}), 0);
    const auto lines = standardOutput.lines();
    const auto metadata = std::find_if(lines.begin(), lines.end(),
        [](const auto& line) { return line.find("videoSegmentCount") != line.npos; });
    EXPECT_LT(metadata, std::find(lines.begin(), lines.end(), "GLIMTO_RECORDING_STATUS=uploading"));
    EXPECT_EQ(workspace.revealed.size(), 1U);
}

TEST_F(DriverUploadTests, WithoutAnAccessKeyNothingIsRecorded)
{
    process.variables.erase("GLIMTO_DESKTOP_ACCESS_KEY");
    EXPECT_EQ(recordAndUpload(), 1);
    EXPECT_EQ(standardError.text(), "error: Recording upload requires an access key.\n");
    EXPECT_THAT(told(),
        testing::ElementsAre(R"({"kind":"launched"})",
            R"({"error":{"code":"recording_failed","domain":"GlimtoCapture.CLIError",)"
            R"("message":"Recording upload requires an access key.","nsCode":1,"type":"CLIError"},)"
            R"("kind":"recording_failed","state":"failed"})",
            "GLIMTO_RECORDING_STATUS=failed"));
    EXPECT_EQ(captureStreams.stream->starts, 0);
    EXPECT_TRUE(api.log().empty());
}

TEST_F(DriverUploadTests, AServerThatRefusesTheRecordingEndsItBeforeItBegins)
{
    failAt("POST /api/recordings");
    EXPECT_EQ(recordAndUpload({"--recording-id", "rec"}), 1);
    EXPECT_EQ(standardError.text(), "error: HTTP 500 for /api/recordings: broken\n");
    EXPECT_EQ(documents().back()["kind"], "recording_failed");
    EXPECT_EQ(standardOutput.lines().back(), "GLIMTO_RECORDING_STATUS=failed");
    EXPECT_EQ(captureStreams.stream->starts, 0);
    EXPECT_EQ(job().state, State::failed);
    EXPECT_EQ(job().lastError, "HTTP 500 for /api/recordings: broken");
}

TEST_F(DriverUploadTests, ARecordingThatFailsIsNotUploaded)
{
    captureStreams.stream->startError = std::make_exception_ptr(PlatformError("X11", 8, "no capture"));
    EXPECT_EQ(recordAndUpload({"--recording-id", "rec"}), 1);
    EXPECT_EQ(documents().back()["kind"], "recording_failed");
    EXPECT_EQ(documents().back()["recordingId"], "rec");
    EXPECT_EQ(job().state, State::failed);
    EXPECT_EQ(job().lastError, "no capture");
    EXPECT_EQ(job().uploadAttempts, 0U);
    EXPECT_EQ(api.log(), std::vector<std::string>({"POST /api/recordings"}));
}

TEST_F(DriverUploadTests, AnUploadThatFailsIsToldInOrderAndTheTakeStays)
{
    failAt("PUT org/rec/segments/playlist.m3u8");
    EXPECT_EQ(recordAndUpload({"--recording-id", "rec"}), 1);
    const auto lines = told();
    const auto uploading = std::find(lines.begin(), lines.end(), "GLIMTO_RECORDING_STATUS=uploading");
    EXPECT_THAT(std::vector<std::string>(uploading, lines.end()),
        testing::ElementsAre("GLIMTO_RECORDING_STATUS=uploading", "Uploaded object: org/rec/manifest.json",
            "Uploaded object: org/rec/segments/video/init.mp4",
            "Uploaded object: org/rec/segments/video/segment_000.m4s",
            "Uploaded object: org/rec/thumbnail.jpg",
            R"({"error":{"code":"upload_failed","domain":"GlimtoCapture.CLIError",)"
            R"("message":"HTTP 500 for upload org/rec/segments/playlist.m3u8: request failed","nsCode":1,)"
            R"("type":"CLIError"},"kind":"upload_failed","recordingId":"rec","state":"failed"})",
            "GLIMTO_RECORDING_STATUS=failed"));
    EXPECT_EQ(
        standardError.text(), "error: HTTP 500 for upload org/rec/segments/playlist.m3u8: request failed\n");
    EXPECT_EQ(job().state, State::failed);
    EXPECT_TRUE(std::filesystem::exists(take() / "manifest.json"));
}

TEST_F(DriverUploadTests, ATakeWhoseUploadFailedIsUploadedLater)
{
    failAt("POST /api/recordings/rec/recording-complete");
    EXPECT_EQ(recordAndUpload({"--recording-id", "rec"}), 1);
    api.interrupt = nullptr;
    EXPECT_EQ(upload(), 0) << standardError.text();
    EXPECT_EQ(standardOutput.lines().back(), "GLIMTO_RECORDING_STATUS=uploaded");
    EXPECT_EQ(job().state, State::completed);
    EXPECT_EQ(job().uploadAttempts, 2U);
}

TEST_F(DriverUploadTests, AKeyThatComesTwiceIsAnErrorAndNoCrash)
{
    api.change = [](const std::string& line, nlohmann::json& answer) {
        if (line.ends_with("upload-urls"))
            answer["uploads"].push_back(answer["uploads"][0]);
    };
    EXPECT_EQ(recordAndUpload({"--recording-id", "rec"}), 1);
    EXPECT_EQ(standardError.text(), "error: Duplicate values for key: 'org/rec/manifest.json'\n");
}

TEST_F(DriverUploadTests, ACanceledUploadLeavesTheTakeAndSaysSo)
{
    api.interrupt = [this](const std::string& line) -> std::optional<HTTPResponse> {
        if (line.ends_with("upload-urls"))
            std::ofstream(take() / ".upload-canceled") << "x";
        return std::nullopt;
    };
    EXPECT_EQ(recordAndUpload({"--recording-id", "rec"}), 1);
    EXPECT_EQ(standardError.text(), "error: The upload was canceled.\n");
    EXPECT_EQ(documents().back()["kind"], "upload_failed");
    EXPECT_EQ(job().state, State::canceled);
    EXPECT_TRUE(std::filesystem::exists(take() / "manifest.json"));
}

TEST_F(DriverUploadTests, AMarkerSetWhileRecordingIsToldAsTheCancellationThatItIs)
{
    captureStreams.stream->onStop = [this] { std::ofstream(take() / ".upload-canceled") << "x"; };
    EXPECT_EQ(recordAndUpload({"--recording-id", "rec"}), 1);
    EXPECT_EQ(standardError.text(), "error: The upload was canceled.\n");
    EXPECT_EQ(documents().back()["kind"], "upload_failed");
    EXPECT_EQ(job().state, State::canceled);
    EXPECT_EQ(job().lastError, "The upload was canceled.");
}

TEST_F(DriverUploadTests, AStopRequestEndsTheFinalUploadAndLeavesTheJob)
{
    api.interrupt = [this](const std::string& line) -> std::optional<HTTPResponse> {
        if (line.ends_with("upload-urls"))
            stopRequests.request = "Interrupt received; finishing recording";
        return std::nullopt;
    };
    EXPECT_EQ(recordAndUpload({"--recording-id", "rec"}), 1);
    EXPECT_EQ(standardError.text(), "error: The upload was interrupted.\n");
    EXPECT_TRUE(stopRequests.wasPassedOn);
    EXPECT_EQ(documents().back()["kind"], "upload_failed");
    EXPECT_EQ(standardOutput.lines().back(), "GLIMTO_RECORDING_STATUS=failed");
    EXPECT_EQ(job().state, State::failed);
    EXPECT_EQ(job().lastError, "The upload was interrupted.");

    EXPECT_EQ(upload(), 1); // the same request
    EXPECT_EQ(job().state, State::failed);
    stopRequests.request.reset();
    api.interrupt = nullptr;
    EXPECT_EQ(upload(), 0) << standardError.text();
    EXPECT_EQ(job().state, State::completed);
}

TEST_F(DriverUploadTests, WhatEndedTheRecordingDoesNotEndItsUpload)
{
    api.interrupt = [this](const std::string& line) -> std::optional<HTTPResponse> {
        if (line == "POST /api/recordings") {
            EXPECT_TRUE(stopRequests.isListening);
        }
        return std::nullopt;
    };
    auto* stream = captureStreams.stream.get();
    stream->onStop = [this] { stopRequests.request = "Interrupt received; finishing recording"; };
    EXPECT_EQ(recordAndUpload({"--recording-id", "rec"}), 0) << standardError.text();
    EXPECT_EQ(job().state, State::completed);
}

TEST_F(DriverUploadTests, AStopRequestWhileTheServerIsAskedEndsTheRecordingBeforeItBegins)
{
    api.interrupt = [this](const std::string&) -> std::optional<HTTPResponse> {
        stopRequests.request = "Interrupt received; finishing recording";
        return std::nullopt;
    };
    network.http.holdPuts();
    EXPECT_EQ(recordAndUpload({"--recording-id", "rec"}), 1);
    EXPECT_EQ(standardError.text(), "error: The upload was interrupted.\n");
    EXPECT_EQ(documents().back()["kind"], "recording_failed");
    EXPECT_TRUE(stopRequests.wasPassedOn);
    EXPECT_EQ(job().state, State::failed);
}

TEST_F(DriverUploadTests, ATakeIsRecordedForUploadOnlyOnce)
{
    EXPECT_EQ(recordAndUpload(), 0);
    EXPECT_EQ(recordAndUpload({"--overwrite"}), 1);
    EXPECT_EQ(
        standardError.lines().back(), "error: Recording output already belongs to a started recording.");
    EXPECT_THAT(
        standardError.lines().at(0), testing::StartsWith("warning: " + root() + " holds the upload job of "));
    EXPECT_TRUE(std::filesystem::exists(take() / "manifest.json"));
}

TEST_F(DriverUploadTests, ATakeWithAnUploadJobIsNotRecordedOverLocally)
{
    EXPECT_EQ(recordAndUpload(), 0);
    EXPECT_EQ(record({"--overwrite"}), 1);
    EXPECT_EQ(standardError.lines().back(), "error: Upload recording cannot be opened as a local recording.");
    EXPECT_THAT(
        standardError.lines().at(0), testing::StartsWith("warning: " + root() + " holds the upload job of "));
    EXPECT_TRUE(std::filesystem::exists(take() / "manifest.json"));
}

TEST_F(DriverUploadTests, AnUploadOntoAnOldTakeIsRefusedBeforeAJobIsMade)
{
    EXPECT_EQ(record(), 0);
    EXPECT_EQ(recordAndUpload({"--recording-id", "rec"}), 1);
    EXPECT_THAT(standardError.lines().back(),
        testing::StartsWith(
            "error: Output directory already contains proof artifacts: segments, manifest.json"));
    EXPECT_FALSE(std::filesystem::exists(take() / "upload-job.json"));
    EXPECT_EQ(recordAndUpload({"--recording-id", "rec", "--overwrite"}), 0) << standardError.text();
}

TEST_F(DriverUploadTests, ADirectoryWhoseRecordingNeverBeganTellsTheWayOut)
{
    failAt("POST /api/recordings");
    EXPECT_EQ(recordAndUpload({"--recording-id", "rec"}), 1);
    api.interrupt = nullptr;
    EXPECT_EQ(recordAndUpload({"--recording-id", "rec", "--overwrite"}), 1);
    const auto lines = standardError.lines();
    ASSERT_GE(lines.size(), 2U);
    EXPECT_EQ(lines[lines.size() - 2],
        "warning: " + root()
            + " holds the upload job of rec (HTTP 500 for /api/recordings: broken) and no finished "
              "take: remove "
            + root() + "/upload-job.json to record there or choose another directory.");
    std::filesystem::remove(take() / "upload-job.json");
    EXPECT_EQ(recordAndUpload({"--recording-id", "rec"}), 0) << standardError.text();
}

TEST_F(DriverUploadTests, ALocalRecordingHasNothingOfAnUpload)
{
    EXPECT_EQ(record(), 0);
    EXPECT_FALSE(std::filesystem::exists(take() / "upload-job.json"));
    EXPECT_FALSE(std::filesystem::exists(take() / ".recording-owner.lock"));
    EXPECT_TRUE(network.http.requests().empty());
}

TEST_F(DriverUploadTests, ATakeInUseIsNotUploaded)
{
    EXPECT_EQ(recordAndUpload(), 0);
    FileLock other;
    ASSERT_EQ(FileLock::tryAcquire(take() / ".recording-owner.lock", other), FileLockOutcome::acquired);
    EXPECT_EQ(upload(), 1);
    EXPECT_EQ(standardError.text(), "error: Recording is in use by another process.\n");
}

TEST_F(DriverUploadTests, AnUploadTakesNoCaptureLock)
{
    failAt("POST /api/recordings/rec/recording-complete");
    EXPECT_EQ(recordAndUpload({"--recording-id", "rec"}), 1);
    api.interrupt = [this](const std::string& line) -> std::optional<HTTPResponse> {
        if (line == "POST /api/recordings") {
            EXPECT_EQ(run({"sources"}), 0);
        }
        return std::nullopt;
    };
    EXPECT_EQ(upload(), 0) << standardError.text();
}

TEST_F(DriverUploadTests, ATakeWithoutAJobIsNotUploaded)
{
    EXPECT_EQ(record(), 0);
    EXPECT_EQ(upload(), 1);
    EXPECT_EQ(standardError.text(), "error: Recording has no upload job. Automatic upload is not allowed.\n");
    EXPECT_TRUE(network.http.requests().empty());
}

} // namespace
} // namespace glimto
