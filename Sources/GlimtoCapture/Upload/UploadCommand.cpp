#include "Upload/UploadCommand.h"

#include <exception>
#include <string>

#include "Lifecycle/GlimtoCaptureEventEmitter.h"
#include "Support/Text.h"
#include "Upload/RecordingUploadReport.h"
#include "Upload/RecordingUploadRun.h"
#include "Upload/TaskCancellationError.h"

namespace glimto {

namespace {

// Whether an interrupted attempt had come to its end on the server's side. A server that cannot tell
// leaves it open, and everything is sent again.
std::optional<RecordingCompleteResponse> completedBefore(RecordingUploadClient& client)
{
    try {
        return client.readCompletedUpload();
    } catch (const TaskCancellationError&) {
        throw;
    } catch (const Error&) {
        return std::nullopt;
    }
}

void warnOfOtherRecording(
    const RecordingUploadOptions& options, const RecordingUploadJob& job, LineOutput& standardError)
{
    if (trimmedNonEmpty(options.recordingId) != trimmedNonEmpty(job.recordingId))
        standardError.writeLine("warning: the take belongs to recording " + singleLine(job.recordingId)
            + " and is uploaded as that.");
}

} // namespace

void uploadRecording(const UploadRecordingOptions& options, const UploadServices& services,
    const std::optional<std::filesystem::path>& managedRoot)
{
    RecordingUploadJobStore job(options.outputDirectory, options.upload, TakeUse::uploading, managedRoot);
    const bool wasInterrupted = job.read().state == RecordingUploadJob::State::uploading;
    const RecordingUploadJob begun = job.beginUpload();
    LineOutput& standardOutput = services.outputs.standardOutput;
    try {
        warnOfOtherRecording(options.upload, begun, services.outputs.standardError);
        GlimtoCaptureEventEmitter(standardOutput).emitStatus("uploading");
        UploadCancellation neverCancelled;
        RecordingUploadClient client(options.upload, job, services, neverCancelled);
        RecordingUploadRunState state;
        const auto result = completeAttempt(job, services.outputs.standardError, [&] {
            if (wasInterrupted) {
                if (auto before = completedBefore(client))
                    return *before;
            }
            return client.finishUpload(job.directory(), state);
        });
        reportRecordingUploadCompletion(result, options.upload.apiBaseURL, standardOutput);
    } catch (...) {
        reportRecordingUploadFailure(std::current_exception(), begun.recordingId, standardOutput);
        throw;
    }
}

} // namespace glimto
