#pragma once

#include <exception>
#include <optional>
#include <string>

#include "Lifecycle/GlimtoCaptureEventEmitter.h"
#include "Options/RecordingUploadOptions.h"
#include "Support/LineOutput.h"
#include "Upload/UploadWireFormat.h"

namespace glimto {

// Warns when the access key goes over the network without encryption: by plain http to another host than this
// machine.
void warnOfPlainHTTP(const RecordingUploadOptions& options, LineOutput& standardError);

// Tells on standard output that an upload is complete: three lines, the event "page_url" and the status
// line with the API's state of the recording.
void reportRecordingUploadCompletion(const RecordingCompleteResponse& result,
    const std::optional<std::string>& apiBaseURL, LineOutput& standardOutput);

// Tells a driving program that an upload that had begun failed: the event "upload_failed" and the status
// line "failed".
void reportRecordingUploadFailure(const std::exception_ptr& error,
    const std::optional<std::string>& recordingId, LineOutput& standardOutput);

} // namespace glimto
