#include "Upload/RecordingUploadJob.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "Support/Errors.h"
#include "Support/JSONText.h"
#include "Support/JSONFields.h"

namespace glimto {

namespace {

constexpr const char* source = "upload-job.json";

// In the order of the enumerators.
constexpr std::array<const char*, 2> modeNames = {"local", "upload"};
constexpr std::array<const char*, 7> stateNames
    = {"prepared", "recording", "ready", "uploading", "completed", "canceled", "failed"};

template <typename Value, std::size_t count>
Value valueOfName(const std::array<const char*, count>& names, const JSONFields& fields, const char* key)
{
    const auto found = std::find(names.begin(), names.end(), fields.text(key));
    if (found == names.end())
        throw PlatformError("JSON", 1, std::string("Could not read ") + source + ": " + key + " is unknown.");
    return static_cast<Value>(found - names.begin());
}

} // namespace

std::string encodeRecordingUploadJob(const RecordingUploadJob& job)
{
    nlohmann::json object = {
        {"version", job.version},
        {"recordingId", job.recordingId},
        {"mode", modeNames.at(static_cast<std::size_t>(job.mode))},
        {"state", stateNames.at(static_cast<std::size_t>(job.state))},
        {"uploadAttempts", job.uploadAttempts},
        {"createdAtUnixMs", job.createdAtUnixMs},
    };
    if (job.apiBaseUrl)
        object["apiBaseUrl"] = *job.apiBaseUrl;
    if (job.credentialSha256)
        object["credentialSha256"] = *job.credentialSha256;
    if (job.lastError)
        object["lastError"] = *job.lastError;
    return encodePrettyJSON(object);
}

RecordingUploadJob decodeRecordingUploadJob(std::string_view text)
{
    const auto json = parseJSON(text, source);
    const JSONFields fields(json, source);
    RecordingUploadJob job;
    job.version = fields.integer<std::int64_t>("version");
    if (job.version != RecordingUploadJob::supportedVersion)
        return job;
    job.recordingId = fields.text("recordingId");
    job.mode = valueOfName<RecordingUploadJob::Mode>(modeNames, fields, "mode");
    fields.read("apiBaseUrl", job.apiBaseUrl);
    fields.read("credentialSha256", job.credentialSha256);
    job.state = valueOfName<RecordingUploadJob::State>(stateNames, fields, "state");
    job.uploadAttempts = fields.unsignedInteger("uploadAttempts");
    job.createdAtUnixMs = fields.unsignedInteger("createdAtUnixMs");
    fields.read("lastError", job.lastError);
    return job;
}

} // namespace glimto
