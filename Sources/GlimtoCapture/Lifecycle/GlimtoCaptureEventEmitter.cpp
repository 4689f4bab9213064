#include "Lifecycle/GlimtoCaptureEventEmitter.h"

#include <algorithm>
#include <utility>

#include "Support/JSONText.h"
#include "Support/Text.h"
#include "Support/TimeStamps.h"

namespace glimto {

namespace {

// Whether the byte may stand in a path segment as it is (pchar of RFC 3986).
bool isPathSegmentCharacter(char character)
{
    const bool isLetter = (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
    const bool isDigit = character >= '0' && character <= '9';
    constexpr std::string_view others = "-._~!$&'()*+,;=:@";
    return isLetter || isDigit || others.find(character) != std::string_view::npos;
}

std::string percentEncodedPathSegment(std::string_view text)
{
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string result;
    for (const char character : text) {
        if (isPathSegmentCharacter(character)) {
            result += character;
        } else {
            const auto byte = static_cast<unsigned char>(character);
            result += '%';
            result += digits[byte >> 4U];
            result += digits[byte & 0x0FU];
        }
    }
    return result;
}

} // namespace

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
    const std::size_t pathEnd = std::min(apiBaseURL.find_first_of("?#"), apiBaseURL.size());
    std::string_view base = apiBaseURL.substr(0, pathEnd);
    while (base.ends_with('/'))
        base.remove_suffix(1);
    return std::string(base) + "/recordings/" + percentEncodedPathSegment(*id)
        + std::string(apiBaseURL.substr(pathEnd));
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
        = error.domain == captureStreamErrorDomain && error.code == captureDeclinedErrorCode;
    return isNotPermitted || wasDeclined ? "screen_permission_denied" : std::string(fallback);
}

} // namespace glimto
