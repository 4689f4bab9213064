#include "Upload/UploadWireFormat.h"

#include "Support/JSONText.h"
#include "Support/JSONFields.h"

namespace glimto {

namespace {

std::vector<std::string> plannedKeys(const JSONFields& fields, const char* name)
{
    std::vector<std::string> keys;
    for (const auto& upload : fields.objects(name))
        keys.push_back(upload.text("key"));
    return keys;
}

UploadInstructions instructionsFrom(const JSONFields& fields)
{
    const JSONFields patterns = fields.object("allowedSegmentKeyPatterns");
    const JSONFields planned = fields.object("plannedUploads");
    UploadInstructions instructions;
    instructions.allowedAudioSegmentKeyPattern = patterns.object("audio").text("regex");
    instructions.allowedVideoSegmentKeyPattern = patterns.object("video").text("regex");
    instructions.manifestKey = fields.text("manifestKey");
    instructions.objectPrefix = fields.text("objectPrefix");
    instructions.plannedUploads.optional = plannedKeys(planned, "optional");
    instructions.plannedUploads.required = plannedKeys(planned, "required");
    return instructions;
}

} // namespace

std::string encodeCreateRecordingRequest(const std::string& recordingId)
{
    return encodeScreenCaptureJSON({{"recordingId", recordingId}});
}

std::string encodeUploadURLsRequest(const std::vector<std::string>& keys, std::chrono::seconds expiresIn)
{
    return encodeScreenCaptureJSON({{"expiresIn", expiresIn.count()}, {"keys", keys}});
}

std::string encodeEmptyRequest()
{
    return "{}";
}

CreateRecordingResponse decodeCreateRecordingResponse(std::string_view body, const std::string& source)
{
    const auto json = parseJSON(body, source);
    const JSONFields fields(json, source);
    CreateRecordingResponse response;
    fields.read("recording", response.recording);
    response.uploadInstructions = instructionsFrom(fields.object("uploadInstructions"));
    return response;
}

APIRecording decodeExistingRecordingResponse(std::string_view body, const std::string& source)
{
    const auto json = parseJSON(body, source);
    APIRecording recording;
    JSONFields(json, source).read("recording", recording);
    return recording;
}

std::vector<SignedUpload> decodeUploadURLsResponse(std::string_view body, const std::string& source)
{
    const auto json = parseJSON(body, source);
    std::vector<SignedUpload> uploads;
    for (const auto& fields : JSONFields(json, source).objects("uploads"))
        uploads.push_back({fields.text("contentType"), fields.object("headers").allTexts(),
            fields.text("key"), fields.text("method"), fields.text("url")});
    return uploads;
}

RecordingCompleteResponse decodeRecordingCompleteResponse(std::string_view body, const std::string& source)
{
    return readJSON<RecordingCompleteResponse>(body, source);
}

std::string decodeAPIErrorMessage(std::string_view body)
{
    const auto json = parseJSON(body, "the error");
    return JSONFields(json, "the error").object("error").text("message");
}

} // namespace glimto
