#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Support/JSONObject.h"

namespace glimto {

// What the recording-upload API answers. The JSON keys equal the field names.

struct APIRecording {
    std::string manifestKey; // object key
    std::string organizationId;
    std::string prefix;
    std::string recordingId;
    std::string state;
};
GLIMTO_JSON_OBJECT(APIRecording, manifestKey, organizationId, prefix, recordingId, state)

struct PlannedUploads {
    std::vector<std::string> optional; // object keys
    std::vector<std::string> required;
};

struct UploadInstructions {
    std::string allowedAudioSegmentKeyPattern; // ICU regular expressions
    std::string allowedVideoSegmentKeyPattern;
    std::string manifestKey;
    std::string objectPrefix;
    PlannedUploads plannedUploads;
};

struct CreateRecordingResponse {
    APIRecording recording;
    UploadInstructions uploadInstructions;
};

// Where and how one object is sent. `url` and `headers` hold secrets.
struct SignedUpload {
    std::string contentType;
    std::vector<std::pair<std::string, std::string>> headers;
    std::string key;
    std::string method;
    std::string url;
};

struct RecordingCompleteResponse {
    std::int64_t checkedObjectCount = 0;
    APIRecording recording;
};
GLIMTO_JSON_OBJECT(RecordingCompleteResponse, checkedObjectCount, recording)

// The bodies of requests. They throw CLIError when a text is not valid UTF-8.
std::string encodeCreateRecordingRequest(const std::string& recordingId);
std::string encodeUploadURLsRequest(const std::vector<std::string>& keys, std::chrono::seconds expiresIn);
std::string encodeEmptyRequest();

// The bodies of answers. They throw PlatformError (domain "JSON"); `source` names the answer there.
CreateRecordingResponse decodeCreateRecordingResponse(std::string_view body, const std::string& source);
APIRecording decodeExistingRecordingResponse(std::string_view body, const std::string& source);
std::vector<SignedUpload> decodeUploadURLsResponse(std::string_view body, const std::string& source);
RecordingCompleteResponse decodeRecordingCompleteResponse(std::string_view body, const std::string& source);

// The message of an APIErrorResponse. Throws as above when the body is something else.
std::string decodeAPIErrorMessage(std::string_view body);

} // namespace glimto
