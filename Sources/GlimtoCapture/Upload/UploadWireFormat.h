#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "Support/JSONFields.h"
#include "Support/JSONObject.h"

namespace glimto {

// What the recording-upload API answers. The JSON keys equal the field names. readJSON() reads an answer, and
// throws PlatformError (domain "JSON") when it is something else.

struct APIRecording {
    std::string manifestKey; // object key
    std::string organizationId;
    std::string prefix;
    std::string recordingId;
    std::string state;
};
GLIMTO_JSON_OBJECT(APIRecording, manifestKey, organizationId, prefix, recordingId, state)

struct SegmentKeyPattern {
    std::string regex; // of ICU
};
GLIMTO_JSON_OBJECT(SegmentKeyPattern, regex)

struct AllowedSegmentKeyPatterns {
    SegmentKeyPattern audio;
    SegmentKeyPattern video;
};
GLIMTO_JSON_OBJECT(AllowedSegmentKeyPatterns, audio, video)

struct PlannedUpload {
    std::string key; // object key
};
GLIMTO_JSON_OBJECT(PlannedUpload, key)

struct PlannedUploads {
    std::vector<PlannedUpload> optional;
    std::vector<PlannedUpload> required;
};
GLIMTO_JSON_OBJECT(PlannedUploads, optional, required)

struct UploadInstructions {
    AllowedSegmentKeyPatterns allowedSegmentKeyPatterns;
    std::string manifestKey;
    std::string objectPrefix;
    PlannedUploads plannedUploads;
};
GLIMTO_JSON_OBJECT(UploadInstructions, allowedSegmentKeyPatterns, manifestKey, objectPrefix, plannedUploads)

struct CreateRecordingResponse {
    APIRecording recording;
    UploadInstructions uploadInstructions;
};
GLIMTO_JSON_OBJECT(CreateRecordingResponse, recording, uploadInstructions)

struct ExistingRecordingResponse {
    APIRecording recording;
};
GLIMTO_JSON_OBJECT(ExistingRecordingResponse, recording)

// Where and how one object is sent. `url` and `headers` hold secrets.
struct SignedUpload {
    std::string contentType;
    std::map<std::string, std::string> headers;
    std::string key;
    std::string method;
    std::string url;
};
GLIMTO_JSON_OBJECT(SignedUpload, contentType, headers, key, method, url)

struct UploadURLsResponse {
    std::vector<SignedUpload> uploads;
};
GLIMTO_JSON_OBJECT(UploadURLsResponse, uploads)

struct RecordingCompleteResponse {
    std::int64_t checkedObjectCount = 0;
    APIRecording recording;
};
GLIMTO_JSON_OBJECT(RecordingCompleteResponse, checkedObjectCount, recording)

struct APIErrorResponse {
    struct ErrorPayload {
        std::string message;
    } error;
};
GLIMTO_JSON_OBJECT(APIErrorResponse::ErrorPayload, message)
GLIMTO_JSON_OBJECT(APIErrorResponse, error)

} // namespace glimto
