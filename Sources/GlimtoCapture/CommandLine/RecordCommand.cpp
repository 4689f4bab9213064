#include "CommandLine/RecordCommand.h"

#include <utility>

#include "Artifacts/OutputPlan.h"
#include "CommandLine/OpenCommand.h"
#include "Lifecycle/GlimtoCaptureLifecycleError.h"
#include "Recording/ScreenSegmentRecorder.h"
#include "Support/Errors.h"
#include "Support/JSONText.h"
#include "Upload/RecordingUploadReport.h"
#include "Upload/RecordingUploadRun.h"

namespace glimto {

namespace {

// The code that an error brings with it.
std::optional<std::string> ownCode(const std::exception_ptr& error)
{
    try {
        std::rethrow_exception(error);
    } catch (const GlimtoCaptureLifecycleError& lifecycleError) {
        return lifecycleError.code();
    } catch (...) {
        return std::nullopt;
    }
}

} // namespace

RecordCommand::RecordCommand(
    PlatformServices& services, Outputs outputs, std::shared_ptr<RecordingFigures> figures)
    : services_(services)
    , outputs_(outputs)
    , figures_(std::move(figures))
    , emitter_(outputs.standardOutput)
{
}

void RecordCommand::run(const RecordOptions& options)
{
    recordingId_ = GlimtoCaptureEventEmitter::recordingId(options);
    // Who reads that the recording was launched may end it at once.
    services_.stopRequests.beginListening();
    try {
        announceLaunch(options);
        if (options.upload)
            recordAndUpload(options);
        else
            recordLocally(options);
    } catch (...) {
        reportFailure(std::current_exception());
        throw;
    }
}

void RecordCommand::announceLaunch(const RecordOptions& options) const
{
    std::optional<std::string> pageURL;
    if (options.upload)
        pageURL = GlimtoCaptureEventEmitter::recordingPageURL(options.upload->apiBaseURL, recordingId_);
    emitter_.emit({.kind = "launched", .recordingId = recordingId_, .pageUrl = pageURL});
    if (pageURL)
        emitter_.emit({.kind = "page_url", .recordingId = recordingId_, .pageUrl = pageURL});
}

void RecordCommand::recordLocally(const RecordOptions& options)
{
    // A take that has a job may be on its way to a server: opening it says why it is not replaced.
    if (RecordingUploadJobStore::hasJob(options.outputDirectory)) {
        tellWhatIsThere(options.outputDirectory);
        RecordingUploadJobStore(options.outputDirectory, std::nullopt, TakeUse::capturing, managedRoot());
    }
    record(options, nullptr, nullptr);
}

// A directory with a job is recorded into only once.
void RecordCommand::tellWhatIsThere(const std::filesystem::path& directory)
{
    if (const auto job = describeUploadJob(directory))
        outputs_.standardError.writeLine("warning: " + *job);
}

void RecordCommand::recordAndUpload(const RecordOptions& options)
{
    // A job that was made before the take is refused would be in the way of every later recording.
    if (RecordingUploadJobStore::hasJob(options.outputDirectory))
        tellWhatIsThere(options.outputDirectory);
    else
        OutputPlan::check(options.outputDirectory, OutputPlan::earlierTake(options.overwrite));
    RecordingUploadJobStore job(options.outputDirectory, options.upload, TakeUse::capturing, managedRoot());
    recordingId_ = job.read().recordingId;
    RecordingUploadOptions uploadOptions = *options.upload;
    uploadOptions.recordingId = recordingId_;
    RecordOptions known = options;
    known.upload = uploadOptions;

    SystemUploadClock clock;
    RecordingUploadRun upload(uploadOptions, job,
        {services_.http, services_.textPatterns, clock, services_.stopRequests, outputs_, figures_});
    try {
        upload.start();
        record(
            known, [&] { upload.captureStarted(); }, [&] { upload.captureFinished(); });
    } catch (...) {
        upload.fail(std::current_exception());
        throw;
    }
    isUploading_ = true;
    figures_->enter(RecordingPhase::uploading);
    emitter_.emitStatus("uploading");
    const auto result = upload.complete();
    reportRecordingUploadCompletion(result, uploadOptions.apiBaseURL, outputs_.standardOutput);
}

void RecordCommand::record(const RecordOptions& options, const std::function<void()>& captureStarted,
    const std::function<void()>& captureFinished)
{
    ScreenSegmentRecorder recorder(services_, outputs_);
    recorder.countInto(figures_);
    const auto metadata = recorder.record(options, captureStarted);
    // What ended the recording does not end the upload of the take.
    services_.stopRequests.acknowledge();
    if (captureFinished)
        captureFinished();
    if (options.stdoutJSON)
        outputs_.standardOutput.writeLine(encodeScreenCaptureJSON(toJSON(metadata)));
    if (options.revealOutput)
        runOpenCommandOrWarn(OpenAction::revealFile, options.outputDirectory, services_.workspace, outputs_);
}

void RecordCommand::reportFailure(const std::exception_ptr& error) const
{
    if (isUploading_) {
        reportRecordingUploadFailure(error, recordingId_, outputs_.standardOutput);
        return;
    }
    const ErrorFacts facts = errorFacts(error);
    // A permission that was missing brought its own code. Asking again now would blame the permission for
    // a window system that went away.
    const auto code = ownCode(error).value_or(
        GlimtoCaptureEventEmitter::errorCode(facts, std::nullopt, "recording_failed"));
    emitter_.emitFailure("recording_failed", recordingId_, code, facts);
}

std::optional<std::filesystem::path> RecordCommand::managedRoot() const
{
    return RecordingUploadJobStore::managedRecordingsRoot(services_.process);
}

} // namespace glimto
