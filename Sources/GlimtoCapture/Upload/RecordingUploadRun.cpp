#include "Upload/RecordingUploadRun.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

#include "Support/Errors.h"
#include "Support/Text.h"
#include "Upload/RecordingUploadReport.h"
#include "Upload/TaskCancellationError.h"

namespace glimto {

namespace {

constexpr std::chrono::seconds betweenPasses(1);

std::chrono::nanoseconds nanosecondsFrom(double seconds)
{
    constexpr double longest = 1e9; // seconds; still within 64 bits of nanoseconds
    return std::chrono::nanoseconds(static_cast<std::int64_t>(std::min(seconds, longest) * 1e9));
}

// The job's last word on a failed attempt. What goes wrong with it must not hide the failure itself.
void markFailed(
    RecordingUploadJobStore& job, const std::exception_ptr& error, LineOutput& standardError) noexcept
{
    try {
        job.setState(RecordingUploadJob::State::failed, excerpt(errorFacts(error).message));
    } catch (const std::exception& writeError) {
        standardError.writeLine(
            "warning: the upload job could not be updated: " + singleLine(writeError.what()));
    }
}

} // namespace

RecordingUploadRun::RecordingUploadRun(
    RecordingUploadOptions options, RecordingUploadJobStore& job, const UploadServices& services)
    : options_(std::move(options))
    , job_(job)
    , services_(services)
    , interruption_(services.interruption())
{
}

RecordingUploadRun::~RecordingUploadRun()
{
    stopBackgroundUpload();
}

void RecordingUploadRun::start()
{
    warnOfPlainHTTP(options_, services_.outputs.standardError);
    RecordingUploadClient(options_, job_, services_, interruption_).prepareUpload(state_);
    services_.outputs.standardOutput.writeLine("Glimto upload: recording session ready");
    if (options_.backgroundUploadThresholdSeconds > 0)
        startBackgroundUpload();
}

void RecordingUploadRun::startBackgroundUpload()
{
    try {
        task_.emplace("glimto.capture.upload");
    } catch (const PlatformError& error) {
        services_.outputs.standardError.writeLine(
            std::string("warning: ") + error.what() + "; the upload follows the recording");
        return;
    }
    task_->post([this] { uploadInBackground(); });
}

void RecordingUploadRun::captureStarted()
{
    job_.setState(RecordingUploadJob::State::recording);
    didCaptureStart_ = true;
}

void RecordingUploadRun::captureFinished()
{
    job_.setState(RecordingUploadJob::State::ready);
}

void RecordingUploadRun::uploadInBackground()
{
    const auto threshold = nanosecondsFrom(options_.backgroundUploadThresholdSeconds);
    if (!services_.clock.sleep(threshold, backgroundCancellation_))
        return;
    services_.outputs.standardOutput.writeLine("Glimto upload: background upload started");
    RecordingUploadClient client(options_, job_, services_, backgroundCancellation_);
    while (!backgroundCancellation_.isCancelled()) {
        if (didCaptureStart_ && !runBackgroundPass(client))
            return;
        if (!services_.clock.sleep(betweenPasses, backgroundCancellation_))
            return;
    }
}

// False when there is nothing more to be done in the background.
bool RecordingUploadRun::runBackgroundPass(RecordingUploadClient& client)
{
    try {
        const std::size_t count = client.uploadInBackground(job_.directory(), state_);
        if (count > 0)
            services_.outputs.standardOutput.writeLine(
                "Glimto upload: background uploaded " + std::to_string(count) + " object(s)");
    } catch (const TaskCancellationError&) {
        return false; // the run's end, or the marker, which the final upload tells of
    } catch (...) {
        if (backgroundCancellation_.isCancelled())
            return false;
        services_.outputs.standardError.writeLine("warning: background upload will retry: "
            + singleLine(errorFacts(std::current_exception()).message));
    }
    return true;
}

void RecordingUploadRun::stopBackgroundUpload()
{
    backgroundCancellation_.cancel();
    task_.reset(); // waits for its end
}

RecordingCompleteResponse RecordingUploadRun::complete()
{
    stopBackgroundUpload();
    RecordingUploadClient client(options_, job_, services_, interruption_);
    try {
        job_.checkCancellation();
    } catch (...) {
        markFailed(job_, std::current_exception(), services_.outputs.standardError);
        throw;
    }
    job_.beginUpload();
    return completeAttempt(
        job_, services_.outputs.standardError, [&] { return client.finishUpload(job_.directory(), state_); });
}

void RecordingUploadRun::fail(const std::exception_ptr& error) noexcept
{
    stopBackgroundUpload();
    markFailed(job_, error, services_.outputs.standardError);
}

RecordingCompleteResponse completeAttempt(RecordingUploadJobStore& job, LineOutput& standardError,
    const std::function<RecordingCompleteResponse()>& send)
{
    try {
        auto result = send();
        job.setState(RecordingUploadJob::State::completed);
        return result;
    } catch (...) {
        markFailed(job, std::current_exception(), standardError);
        throw;
    }
}

} // namespace glimto
