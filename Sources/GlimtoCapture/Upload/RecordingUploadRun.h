#pragma once

#include <atomic>
#include <exception>
#include <functional>
#include <optional>

#include "Options/RecordingUploadOptions.h"
#include "Support/LineOutput.h"
#include "Support/SerialQueue.h"
#include "Upload/RecordingUploadClient.h"
#include "Upload/RecordingUploadJobStore.h"
#include "Upload/RecordingUploadRunState.h"
#include "Upload/UploadCancellation.h"
#include "Upload/UploadServices.h"

namespace glimto {

// The upload of one take from before it is recorded until the server has all of it: finished segments are
// sent in the background while it is recorded, and the rest at the end.
//
// Operations are called from one thread. Nothing that goes wrong in the background harms the recording.
class RecordingUploadRun {
public:
    // `job` and the services outlive the run. The stop requests listen already: one that comes while start()
    // or complete() runs makes it throw UploadInterruptedError soon.
    RecordingUploadRun(
        RecordingUploadOptions options, RecordingUploadJobStore& job, const UploadServices& services);

    // Ends the background upload.
    ~RecordingUploadRun();

    // Makes the remote recording, and starts the background upload unless the options turn it off.
    void start();

    // The recording runs: its directory now holds nothing of an earlier take, and what appears in it may
    // be sent. The job becomes `recording`.
    void captureStarted();

    // The take is complete on the disk. The job becomes `ready`.
    void captureFinished();

    // Ends the background upload, sends what is left, and completes the remote recording. The job becomes
    // `completed`, or `failed` when this throws, which can be tried again, or `canceled`.
    RecordingCompleteResponse complete();

    // Ends the background upload and makes the job `failed`. For a recording that came to nothing.
    void fail(const std::exception_ptr& error) noexcept;

private:
    void startBackgroundUpload();
    void uploadInBackground();
    bool runBackgroundPass(RecordingUploadClient& client);
    void stopBackgroundUpload();

    RecordingUploadOptions options_;
    RecordingUploadJobStore& job_;
    UploadServices services_;
    RecordingUploadRunState state_;
    std::atomic<bool> didCaptureStart_ = false;
    UploadCancellation backgroundCancellation_;
    UploadCancellation interruption_;
    std::optional<SerialQueue> task_; // last: it uses all of the above
};

// The last part of an attempt that was counted by beginUpload(): runs `send`. The job then becomes
// `completed`, or `failed` when it throws, with the error as its last one.
RecordingCompleteResponse completeAttempt(RecordingUploadJobStore& job, LineOutput& standardError,
    const std::function<RecordingCompleteResponse()>& send);

} // namespace glimto
