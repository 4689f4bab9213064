#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "Options/RecordingUploadOptions.h"
#include "Upload/RecordingUploadHTTP.h"
#include "Upload/RecordingUploadJobStore.h"
#include "Upload/RecordingUploadRunState.h"
#include "Upload/UploadArtifact.h"
#include "Upload/UploadArtifactBuilder.h"
#include "Upload/UploadCancellation.h"
#include "Upload/UploadServices.h"

namespace glimto {

// Takes one take through the recording-upload API: makes the remote recording, sends objects, completes.
//
// Before every request it asks the job whether the upload was canceled. Operations wait, and throw
// CLIError when an answer is not as it has to be, TaskCancellationError, and what HTTP throws; the job
// and what is noted as uploaded then stay as they are.
class RecordingUploadClient {
public:
    // Job, services and cancellation outlive the client.
    RecordingUploadClient(const RecordingUploadOptions& options, const RecordingUploadJobStore& job,
        const UploadServices& services, UploadCancellation& cancellation);

    // Makes the remote recording of the job, or finds it, and keeps the answer in `state`.
    CreateRecordingResponse prepareUpload(RecordingUploadRunState& state);

    // Sends what a take that still grows has so far. Returns the number of objects sent.
    std::size_t uploadInBackground(
        const std::filesystem::path& outputDirectory, RecordingUploadRunState& state);

    // Sends what is left of a finished take, and completes the remote recording.
    RecordingCompleteResponse finishUpload(
        const std::filesystem::path& outputDirectory, RecordingUploadRunState& state);

    RecordingCompleteResponse completeRemoteUpload(const std::string& recordingId);

    // For a job whose upload may have been finished without this side knowing: completes it again when the
    // server has everything. Absent when it does not.
    std::optional<RecordingCompleteResponse> readCompletedUpload();

private:
    CreateRecordingResponse prepared(RecordingUploadRunState& state);
    std::size_t upload(const std::vector<UploadArtifact>& artifacts, const std::string& recordingId,
        RecordingUploadRunState& state);

    const RecordingUploadJobStore& job_;
    UploadServices services_;
    UploadCancellation& cancellation_;
    UploadArtifactBuilder artifactBuilder_;
    RecordingUploadHTTP http_;
};

} // namespace glimto
