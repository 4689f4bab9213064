#include "Upload/UploadCommand.h"

#include <exception>
#include <string>

#include "Lifecycle/GlimtoCaptureEventEmitter.h"
#include "Support/Text.h"
#include "Upload/RecordingUploadReport.h"
#include "Upload/RecordingUploadRun.h"

namespace glimto {

namespace {

void warnOfOtherRecording(
    const RecordingUploadOptions& options, const RecordingUploadJob& job, LineOutput& standardError)
{
    if (trimmedNonEmpty(options.recordingId) != trimmedNonEmpty(job.recordingId))
        standardError.writeLine("warning: the take belongs to recording " + excerpt(job.recordingId)
            + " and is uploaded as that.");
}

} // namespace

void uploadRecording(const UploadRecordingOptions& options, const UploadServices& services,
    const std::optional<std::filesystem::path>& managedRoot)
{
    services.stopRequests.beginListening();
    services.transport.beginLoading();
    RecordingUploadJobStore job(options.outputDirectory, options.upload, TakeUse::uploading, managedRoot);
    const RecordingUploadJob begun = job.beginUpload();
    LineOutput& standardOutput = services.outputs.standardOutput;
    try {
        warnOfOtherRecording(options.upload, begun, services.outputs.standardError);
        warnOfPlainHTTP(options.upload, services.outputs.standardError);
        GlimtoCaptureEventEmitter(standardOutput).emitStatus("uploading");
        UploadCancellation interruption = services.interruption();
        RecordingUploadClient client(options.upload, job, services, interruption);
        RecordingUploadRunState state;
        const auto result = completeAttempt(
            job, services.outputs.standardError, [&] { return client.finishUpload(job.directory(), state); });
        reportRecordingUploadCompletion(result, options.upload.apiBaseURL, standardOutput);
    } catch (...) {
        reportRecordingUploadFailure(std::current_exception(), begun.recordingId, standardOutput);
        throw;
    }
}

} // namespace glimto
