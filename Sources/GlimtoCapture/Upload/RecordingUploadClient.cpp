#include "Upload/RecordingUploadClient.h"

#include "Support/Errors.h"
#include "Support/JSONText.h"
#include "Upload/UploadPass.h"

namespace glimto {

RecordingUploadClient::RecordingUploadClient(const RecordingUploadOptions& options,
    const RecordingUploadJobStore& job, const UploadServices& services, UploadCancellation& cancellation)
    : job_(job)
    , services_(services)
    , cancellation_(cancellation)
    , artifactBuilder_(services.patterns)
    , http_(options, services.transport, cancellation)
{
}

CreateRecordingResponse RecordingUploadClient::prepareUpload(RecordingUploadRunState& state)
{
    job_.checkCancellation();
    const std::string recordingId = job_.read().recordingId;
    const auto body = http_.postJSON(
        http_.endpoint({"api", "recordings"}), encodeScreenCaptureJSON({{"recordingId", recordingId}}));
    auto response = readJSON<CreateRecordingResponse>(body, "the answer to the creation of the recording");
    if (response.recording.recordingId != recordingId)
        throw CLIError("Upload API returned a different recording ID.");
    if (response.recording.prefix != response.uploadInstructions.objectPrefix)
        throw CLIError("API returned mismatched recording prefix and uploadInstructions.objectPrefix.");
    state.preparedCreateResponse = response;
    return response;
}

CreateRecordingResponse RecordingUploadClient::prepared(RecordingUploadRunState& state)
{
    return state.preparedCreateResponse ? *state.preparedCreateResponse : prepareUpload(state);
}

std::size_t RecordingUploadClient::uploadInBackground(
    const std::filesystem::path& outputDirectory, RecordingUploadRunState& state)
{
    job_.checkCancellation();
    const auto response = prepared(state);
    const auto& instructions = response.uploadInstructions;
    state.discoverTrackSegments(outputDirectory, "video", instructions.objectPrefix);
    state.discoverTrackSegments(outputDirectory, "audio", instructions.objectPrefix);
    const auto artifacts = artifactBuilder_.buildBackgroundUploadArtifacts(
        outputDirectory, instructions, state.uploadedObjectKeys, state.pendingSegmentObjectKeys);
    return upload(artifacts, response.recording.recordingId, state);
}

RecordingCompleteResponse RecordingUploadClient::finishUpload(
    const std::filesystem::path& outputDirectory, RecordingUploadRunState& state)
{
    job_.checkCancellation();
    const auto response = prepared(state);
    const auto artifacts = artifactBuilder_.buildUploadArtifacts(
        outputDirectory, response.recording, response.uploadInstructions, state.uploadedObjectKeys);
    upload(artifacts, response.recording.recordingId, state);
    return completeRemoteUpload(response.recording.recordingId);
}

std::size_t RecordingUploadClient::upload(const std::vector<UploadArtifact>& artifacts,
    const std::string& recordingId, RecordingUploadRunState& state)
{
    if (artifacts.empty())
        return 0;
    UploadPass pass(artifacts, recordingId, http_, job_, services_, cancellation_, state);
    return pass.run();
}

RecordingCompleteResponse RecordingUploadClient::completeRemoteUpload(const std::string& recordingId)
{
    job_.checkCancellation();
    const auto body
        = http_.postJSON(http_.endpoint({"api", "recordings", recordingId, "recording-complete"}), "{}");
    auto response
        = readJSON<RecordingCompleteResponse>(body, "the answer to the completion of the recording");
    if (response.recording.recordingId != recordingId)
        throw CLIError("Upload completion returned a different recording ID.");
    return response;
}

std::optional<RecordingCompleteResponse> RecordingUploadClient::readCompletedUpload()
{
    job_.checkCancellation();
    const std::string recordingId = job_.read().recordingId;
    const auto body = http_.getJSON(http_.endpoint({"api", "recordings", recordingId}));
    const auto recording = readJSON<ExistingRecordingResponse>(body, "the state of the recording").recording;
    if (recording.recordingId != recordingId)
        throw CLIError("Recording status returned a different recording ID.");
    if (recording.state != "uploaded")
        return std::nullopt;
    return completeRemoteUpload(recordingId);
}

} // namespace glimto
