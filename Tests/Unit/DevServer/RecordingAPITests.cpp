#include "RecordingAPI.h"

#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Support/AtomicFile.h"
#include "Fakes/TemporaryDirectory.h"

namespace glimto {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;

class RecordingAPITests : public testing::Test {
protected:
    template <typename Operation> std::string refusal(Operation&& operation)
    {
        try {
            operation();
        } catch (const APIError& error) {
            return std::to_string(error.status()) + " " + error.what();
        }
        return "accepted";
    }

    json upload(const json& keys, const json& expiresIn = 300)
    {
        return api.uploadURLs("rec", json{{"keys", keys}, {"expiresIn", expiresIn}}.dump(), "http://host:1");
    }

    void put(const std::string& relativeKey, const std::string& content)
    {
        auto file = objects.beginObject(prefix + relativeKey);
        file->write(std::as_bytes(std::span(content)));
        file->commit();
    }

    void putWholeRecording()
    {
        put("manifest.json",
            json{{"initSegmentKey", prefix + "segments/video/init.mp4"},
                {"playlistKey", prefix + "segments/playlist.m3u8"},
                {"segments", {{{"key", prefix + "segments/video/segment_000.m4s"}, {"bytes", 3}}}},
                {"totalDuration", 2.5}, {"video", {{"width", 640}, {"height", 480}, {"hasAudio", false}}}}
                .dump());
        put("segments/playlist.m3u8", "list");
        put("segments/video/init.mp4", "init");
        put("segments/video/segment_000.m4s", "abc");
    }

    TemporaryDirectory folder;
    RecordingRegistry recordings{folder.path() / "recordings"};
    ObjectStore objects{folder.path() / "objects"};
    UploadURLSigner signer{"secret"};
    std::chrono::system_clock::time_point now{std::chrono::seconds(1'700'000'000)};
    RecordingAPI api{recordings, objects, signer, [this] { return now; }};
    const std::string prefix = "organizations/local/recordings/rec/";
};

TEST_F(RecordingAPITests, ANewRecordingTellsWhatMayBeUploaded)
{
    const auto created = api.createRecording(R"({"recordingId":"rec"})");
    EXPECT_EQ(created["recording"],
        json::parse(R"({"manifestKey":"organizations/local/recordings/rec/manifest.json",
            "organizationId":"local","prefix":"organizations/local/recordings/rec","recordingId":"rec",
            "state":"created"})"));
    const auto& instructions = created["uploadInstructions"];
    EXPECT_EQ(instructions["objectPrefix"], created["recording"]["prefix"]);
    EXPECT_EQ(instructions["manifestKey"], created["recording"]["manifestKey"]);
    EXPECT_EQ(instructions["allowedSegmentKeyPatterns"]["audio"]["regex"],
        "^organizations/local/recordings/rec/segments/audio/segment_[0-9]{3,}\\.m4s$");
    EXPECT_EQ(instructions["plannedUploads"]["required"].size(), 3u);
    EXPECT_EQ(instructions["plannedUploads"]["optional"].size(), 5u);
}

TEST_F(RecordingAPITests, CreatingAgainGivesTheSameRecording)
{
    api.createRecording(R"({"recordingId":"rec"})");
    now += std::chrono::hours(1);
    api.createRecording(R"({"recordingId":"rec"})");
    EXPECT_EQ(recordings.all().size(), 1u);
    EXPECT_EQ(recordings.find("rec")->createdAt, "2023-11-14T22:13:20.000Z");
}

TEST_F(RecordingAPITests, WithoutAnIdOneIsChosen)
{
    const std::string id = api.createRecording("{}")["recording"]["recordingId"];
    EXPECT_THAT(id, testing::MatchesRegex("rec_[a-z]+"));
    EXPECT_EQ(id.size(), 20u);
}

TEST_F(RecordingAPITests, BadIdsAndBodiesAreRefused)
{
    for (const char* body : {"", "[]", "{", R"({"recordingId":5})", R"({"recordingId":""})",
             R"({"recordingId":"../x"})", R"({"recordingId":"<script>"})", "\xFF"})
        EXPECT_THAT(refusal([&] { api.createRecording(body); }), testing::StartsWith("400 ")) << body;
    EXPECT_TRUE(recordings.all().empty());
}

TEST_F(RecordingAPITests, UnknownRecordingsAreNotFound)
{
    EXPECT_EQ(refusal([&] { api.readRecording("nobody"); }), "404 There is no such recording.");
    EXPECT_EQ(refusal([&] { api.readRecording("../recordings/rec"); }), "404 There is no such recording.");
    EXPECT_EQ(refusal([&] { api.completeRecording("nobody"); }), "404 There is no such recording.");
    EXPECT_EQ(refusal([&] { upload(json::array()); }), "404 There is no such recording.");
}

TEST_F(RecordingAPITests, EachKeyGetsASignedURLOnce)
{
    api.createRecording(R"({"recordingId":"rec"})");
    const auto key = prefix + "segments/video/segment_000.m4s";
    const auto uploads = upload({key, prefix + "manifest.json", key})["uploads"];
    ASSERT_EQ(uploads.size(), 2u);
    EXPECT_EQ(uploads[0]["key"], key);
    EXPECT_EQ(uploads[0]["method"], "PUT");
    EXPECT_EQ(uploads[0]["headers"], (json{{"Content-Type", "video/iso.segment"}}));
    EXPECT_EQ(uploads[0]["url"],
        "http://host:1/objects/" + key + "?" + signer.query("PUT", key, now + std::chrono::seconds(300)));
    EXPECT_EQ(api.readRecording("rec")["recording"]["state"], "uploading");
}

TEST_F(RecordingAPITests, OnlyTheRecordingsOwnKeysAreSigned)
{
    api.createRecording(R"({"recordingId":"rec"})");
    for (const std::string& key : {prefix + "other.txt", prefix + "segments/video/segment_00.m4s",
             prefix + "segments/video/segment_0x0.m4s", prefix + "../rec2/manifest.json",
             std::string("organizations/local/recordings/rec2/manifest.json"), std::string()})
        EXPECT_THAT(refusal([&] { upload({key}); }), testing::StartsWith("400 ")) << key;
    EXPECT_THAT(refusal([&] { upload({5}); }), testing::StartsWith("400 "));
    EXPECT_THAT(refusal([&] { upload("x"); }), testing::StartsWith("400 "));
}

TEST_F(RecordingAPITests, ExpiryIsBounded)
{
    api.createRecording(R"({"recordingId":"rec"})");
    for (const json& expiry : {json(0), json(3601), json(-5), json("300"), json(1.5), json()})
        EXPECT_THAT(refusal([&] { upload(json::array(), expiry); }), HasSubstr("expiresIn")) << expiry;
}

TEST_F(RecordingAPITests, UploadsNeedTheirOwnSignature)
{
    const auto key = prefix + "manifest.json";
    EXPECT_EQ(refusal([&] { api.requireUploadAllowed("PUT", key, std::nullopt, std::nullopt); }),
        "403 The upload URL is not signed.");
    EXPECT_EQ(refusal([&] { api.requireUploadAllowed("PUT", key, "1700000300", "00"); }),
        "403 The upload URL is not signed for this request.");
    const auto signature = signer.query("PUT", key, now - std::chrono::seconds(1)).substr(29);
    EXPECT_EQ(refusal([&] { api.requireUploadAllowed("PUT", key, "1699999999", signature); }),
        "403 The upload URL has expired.");
}

TEST_F(RecordingAPITests, CompletionChecksEveryObject)
{
    api.createRecording(R"({"recordingId":"rec"})");
    EXPECT_THAT(refusal([&] { api.completeRecording("rec"); }), HasSubstr("manifest.json is missing"));
    putWholeRecording();
    const auto completed = api.completeRecording("rec");
    EXPECT_EQ(completed["checkedObjectCount"], 4);
    EXPECT_EQ(completed["recording"]["state"], "uploaded");
    EXPECT_EQ(api.completeRecording("rec"), completed);
}

TEST_F(RecordingAPITests, MissingEmptyOrShortSegmentsAreFound)
{
    api.createRecording(R"({"recordingId":"rec"})");
    putWholeRecording();
    put("segments/video/segment_000.m4s", "ab");
    EXPECT_THAT(refusal([&] { api.completeRecording("rec"); }), HasSubstr("has not the size"));
    put("segments/video/segment_000.m4s", "");
    EXPECT_THAT(refusal([&] { api.completeRecording("rec"); }), HasSubstr("missing or empty"));
    EXPECT_EQ(api.readRecording("rec")["recording"]["state"], "created");
}

TEST_F(RecordingAPITests, AHostileManifestIsRefused)
{
    api.createRecording(R"({"recordingId":"rec"})");
    for (const char* manifest : {"nonsense", "[]", R"({"segments":5})", R"({"segments":[5]})",
             R"({"segments":[{"key":"../../etc/passwd","bytes":1}]})",
             R"({"segments":[],"playlistKey":"organizations/local/recordings/other/manifest.json"})"}) {
        putWholeRecording();
        put("manifest.json", manifest);
        EXPECT_THAT(refusal([&] { api.completeRecording("rec"); }), testing::StartsWith("409 ")) << manifest;
    }
}

TEST_F(RecordingAPITests, AManifestThatIsFarTooLongIsNotRead)
{
    api.createRecording(R"({"recordingId":"rec"})");
    putWholeRecording();
    const std::string manifest = objects.json(prefix + "manifest.json").dump();
    put("manifest.json", manifest + std::string(64 << 20, ' '));
    EXPECT_TRUE(objects.json(prefix + "manifest.json").is_discarded());
    EXPECT_EQ(refusal([&] { api.completeRecording("rec"); }), "409 The manifest cannot be read.");
    EXPECT_FALSE(api.recordingDetails("rec").contains("width"));
}

TEST_F(RecordingAPITests, AnUploadedRecordingStaysUploadedWhenItIsSentAgain)
{
    api.createRecording(R"({"recordingId":"rec"})");
    putWholeRecording();
    api.completeRecording("rec");
    upload({prefix + "manifest.json"});
    EXPECT_EQ(api.readRecording("rec")["recording"]["state"], "uploaded");
}

TEST_F(RecordingAPITests, PagesTellWhatIsThere)
{
    EXPECT_EQ(refusal([&] { api.recordingDetails("rec"); }), "404 There is no such recording.");
    api.createRecording(R"({"recordingId":"rec"})");
    EXPECT_EQ(api.recordingDetails("rec")["objectCount"], 0);
    putWholeRecording();
    api.completeRecording("rec");
    const auto details = api.listRecordings()["recordings"][0];
    EXPECT_EQ(details["segmentCount"], 1);
    EXPECT_EQ(details["totalDuration"], 2.5);
    EXPECT_EQ(details["width"], 640);
    EXPECT_EQ(details["isPlayable"], true);
    EXPECT_EQ(details["hasThumbnail"], false);
}

TEST_F(RecordingAPITests, LinksOutOfTheStoreAreNoObjects)
{
    put("manifest.json", "x");
    std::filesystem::create_symlink("/etc/hostname", folder.path() / "objects" / prefix / "thumbnail.jpg");
    EXPECT_FALSE(objects.file(prefix + "thumbnail.jpg").has_value());
    EXPECT_EQ(objects.objects(prefix.substr(0, prefix.size() - 1)).size(), 1u);
}

TEST_F(RecordingAPITests, ForeignAndDamagedRecordFilesAreNotShown)
{
    api.createRecording(R"({"recordingId":"rec"})");
    writeFileAtomically(folder.path() / "recordings" / "torn.json", std::string_view("{"));
    writeFileAtomically(folder.path() / "recordings" / "liar.json",
        std::string_view(R"({"recordingId":"rec","state":"created","createdAt":"","createdAtUnixMs":1})"));
    ASSERT_EQ(recordings.all().size(), 1u);
    EXPECT_EQ(recordings.all().front().recordingId, "rec");
}

} // namespace
} // namespace glimto
