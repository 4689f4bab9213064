#include "Upload/RecordingUploadJob.h"

#include <gtest/gtest.h>

#include "Support/Errors.h"

namespace glimto {
namespace {

std::string decodingFailure(const std::string& text)
{
    try {
        decodeRecordingUploadJob(text);
    } catch (const PlatformError& error) {
        return error.what();
    }
    return "no failure";
}

TEST(RecordingUploadJobTests, IsWrittenWithTheNamesOfItsFields)
{
    const RecordingUploadJob job = {.recordingId = "rec_a",
        .mode = RecordingUploadJob::Mode::upload,
        .apiBaseUrl = "http://h",
        .credentialSha256 = "ff",
        .state = RecordingUploadJob::State::failed,
        .uploadAttempts = 2,
        .createdAtUnixMs = 1700000000123,
        .lastError = "oops"};
    EXPECT_EQ(encodeRecordingUploadJob(job),
        "{\n"
        "  \"apiBaseUrl\": \"http://h\",\n"
        "  \"createdAtUnixMs\": 1700000000123,\n"
        "  \"credentialSha256\": \"ff\",\n"
        "  \"lastError\": \"oops\",\n"
        "  \"mode\": \"upload\",\n"
        "  \"recordingId\": \"rec_a\",\n"
        "  \"state\": \"failed\",\n"
        "  \"uploadAttempts\": 2,\n"
        "  \"version\": 1\n"
        "}");
    EXPECT_EQ(decodeRecordingUploadJob(encodeRecordingUploadJob(job)), job);
}

TEST(RecordingUploadJobTests, LeavesOutWhatIsAbsent)
{
    const RecordingUploadJob job = {.recordingId = "r", .createdAtUnixMs = 1};
    EXPECT_EQ(encodeRecordingUploadJob(job),
        "{\n"
        "  \"createdAtUnixMs\": 1,\n"
        "  \"mode\": \"local\",\n"
        "  \"recordingId\": \"r\",\n"
        "  \"state\": \"prepared\",\n"
        "  \"uploadAttempts\": 0,\n"
        "  \"version\": 1\n"
        "}");
    EXPECT_EQ(decodeRecordingUploadJob(encodeRecordingUploadJob(job)), job);
}

TEST(RecordingUploadJobTests, EveryStateComesBack)
{
    using State = RecordingUploadJob::State;
    for (const State state : {State::prepared, State::recording, State::ready, State::uploading,
             State::completed, State::canceled, State::failed}) {
        const RecordingUploadJob job = {.recordingId = "r", .state = state};
        EXPECT_EQ(decodeRecordingUploadJob(encodeRecordingUploadJob(job)).state, state);
    }
}

TEST(RecordingUploadJobTests, OfAnotherVersionOnlyTheVersionIsRead)
{
    EXPECT_EQ(decodeRecordingUploadJob(R"({"version": 2, "mode": 7})").version, 2);
}

TEST(RecordingUploadJobTests, UnknownWordsAndMissingFieldsAreRefused)
{
    const std::string rest = R"(, "uploadAttempts": 0, "createdAtUnixMs": 0})";
    EXPECT_EQ(decodingFailure(R"({"version": 1, "recordingId": "r", "mode": "x", "state": "ready")" + rest),
        "Could not read upload-job.json: mode is unknown.");
    EXPECT_EQ(decodingFailure(R"({"version": 1, "recordingId": "r", "mode": "local", "state": "x")" + rest),
        "Could not read upload-job.json: state is unknown.");
    EXPECT_EQ(
        decodingFailure(R"({"version": 1})"), "Could not read upload-job.json: recordingId is missing.");
    EXPECT_EQ(decodingFailure("{"), "Could not read upload-job.json: no valid JSON at byte 2.");
}

} // namespace
} // namespace glimto
