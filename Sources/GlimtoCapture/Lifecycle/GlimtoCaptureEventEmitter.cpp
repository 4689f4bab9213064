#include "Lifecycle/GlimtoCaptureEventEmitter.h"

#include <utility>

#include "Platform/ErrorDomains.h"
#include "Support/JSONText.h"
#include "Support/Text.h"
#include "Support/TimeStamps.h"
#include "Support/WebAddress.h"

namespace glimto {

GlimtoCaptureEventEmitter::GlimtoCaptureEventEmitter(LineOutput& standardOutput, Clock now)
    : standardOutput_(standardOutput)
    , now_(std::move(now))
{
}

void GlimtoCaptureEventEmitter::emit(GlimtoCaptureLifecycleEvent event) const
{
    event.timestamp = iso8601Timestamp(now_());
    std::string line;
    try {
        line = encodeScreenCaptureJSON(toJSON(event));
    } catch (const CLIError&) {
        return;
    }
    standardOutput_.writeLine(line);
}

void GlimtoCaptureEventEmitter::emitStatus(std::string_view state) const
{
    standardOutput_.writeLine("GLIMTO_RECORDING_STATUS=" + std::string(state));
}

void GlimtoCaptureEventEmitter::emitFailure(const std::string& kind,
    const std::optional<std::string>& recordingId, const std::string& code, const ErrorFacts& error) const
{
    emit({.kind = kind,
        .recordingId = recordingId,
        .error = GlimtoCaptureEventError(code, error),
        .state = "failed"});
    emitStatus("failed");
}

std::optional<std::string> GlimtoCaptureEventEmitter::recordingId(const RecordOptions& options)
{
    if (!options.upload)
        return std::nullopt;
    return trimmedNonEmpty(options.upload->recordingId);
}

std::optional<std::string> GlimtoCaptureEventEmitter::recordingPageURL(
    std::string_view apiBaseURL, const std::optional<std::string>& recordingId)
{
    const auto id = trimmedNonEmpty(recordingId);
    if (!id)
        return std::nullopt;
    return appendingPathSegments(apiBaseURL, {"recordings", *id});
}

std::optional<std::string> GlimtoCaptureEventEmitter::trimmedNonEmpty(const std::optional<std::string>& text)
{
    return glimto::trimmedNonEmpty(text);
}

std::string GlimtoCaptureEventEmitter::errorCode(const ErrorFacts& error,
    const std::optional<ScreenCapturePermissionJSON>& permission, std::string_view fallback)
{
    const bool isNotPermitted = permission && !permission->preflightGranted;
    const bool wasDeclined
        = error.domain == errorDomain::captureStream && error.code == captureDeclinedErrorCode;
    return isNotPermitted || wasDeclined ? "screen_permission_denied" : std::string(fallback);
}

} // namespace glimto
