#include "Upload/RecordingUploadReport.h"

#include "Support/Errors.h"
#include "Support/Text.h"
#include "Support/WebAddress.h"

namespace glimto {

void warnOfPlainHTTP(const RecordingUploadOptions& options, LineOutput& standardError)
{
    const std::string host = hostOfWebAddress(options.apiBaseURL);
    if (!options.apiBaseURL.starts_with("http://") || isThisMachine(host))
        return;
    standardError.writeLine(
        "warning: the access key is sent to " + excerpt(host) + " without encryption. Use an https address.");
}

void reportRecordingUploadCompletion(const RecordingCompleteResponse& result,
    const std::optional<std::string>& apiBaseURL, LineOutput& standardOutput)
{
    // Texts of a server, which must not make lines of their own.
    const std::string recordingId = excerpt(result.recording.recordingId);
    const std::string state = excerpt(result.recording.state);
    standardOutput.writeLine("Uploaded recording: " + recordingId);
    standardOutput.writeLine("State: " + state);
    standardOutput.writeLine("Checked objects: " + std::to_string(result.checkedObjectCount));

    std::optional<std::string> pageURL;
    if (apiBaseURL)
        pageURL = GlimtoCaptureEventEmitter::recordingPageURL(*apiBaseURL, recordingId);
    const GlimtoCaptureEventEmitter emitter(standardOutput);
    emitter.emit({.kind = "page_url",
        .recordingId = recordingId,
        .pageUrl = pageURL,
        .state = state,
        .checkedObjectCount = result.checkedObjectCount});
    emitter.emitStatus(state);
}

void reportRecordingUploadFailure(const std::exception_ptr& error,
    const std::optional<std::string>& recordingId, LineOutput& standardOutput)
{
    const ErrorFacts facts = errorFacts(error);
    const auto code = GlimtoCaptureEventEmitter::errorCode(facts, std::nullopt, "upload_failed");
    GlimtoCaptureEventEmitter(standardOutput).emitFailure("upload_failed", recordingId, code, facts);
}

} // namespace glimto
