#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Support/JSONObject.h"

namespace glimto {

// What a take's directory remembers of its upload: the content of "upload-job.json". The JSON keys equal
// the field names; what is absent is left out.
struct RecordingUploadJob {
    enum class Mode { local, upload };
    enum class State { prepared, recording, ready, uploading, completed, canceled, failed };

    static constexpr std::int64_t supportedVersion = 1;

    std::int64_t version = supportedVersion;
    std::string recordingId; // "rec_" and 16 lowercase letters when generated
    Mode mode = Mode::local;
    std::optional<std::string> apiBaseUrl = std::nullopt; // origin of the API, in upload mode
    std::optional<std::string> credentialSha256
        = std::nullopt; // fingerprint of the access key, in upload mode
    State state = State::prepared;
    std::uint64_t uploadAttempts = 0; // begun so far
    std::uint64_t createdAtUnixMs = 0; // milliseconds since the Unix epoch
    std::optional<std::string> lastError = std::nullopt;

    friend bool operator==(const RecordingUploadJob&, const RecordingUploadJob&) = default;
};
NLOHMANN_JSON_SERIALIZE_ENUM(RecordingUploadJob::Mode,
    {{RecordingUploadJob::Mode::local, "local"}, {RecordingUploadJob::Mode::upload, "upload"}})
NLOHMANN_JSON_SERIALIZE_ENUM(RecordingUploadJob::State,
    {{RecordingUploadJob::State::prepared, "prepared"}, {RecordingUploadJob::State::recording, "recording"},
        {RecordingUploadJob::State::ready, "ready"}, {RecordingUploadJob::State::uploading, "uploading"},
        {RecordingUploadJob::State::completed, "completed"},
        {RecordingUploadJob::State::canceled, "canceled"}, {RecordingUploadJob::State::failed, "failed"}})
GLIMTO_JSON_OBJECT(RecordingUploadJob, version, recordingId, mode, apiBaseUrl, credentialSha256, state,
    uploadAttempts, createdAtUnixMs, lastError)

// Throws CLIError when the recording's id is not valid UTF-8.
std::string encodeRecordingUploadJob(const RecordingUploadJob& job);

// Throws PlatformError (domain "JSON"). A job of another version is not read further than its version.
RecordingUploadJob decodeRecordingUploadJob(std::string_view text);

} // namespace glimto
