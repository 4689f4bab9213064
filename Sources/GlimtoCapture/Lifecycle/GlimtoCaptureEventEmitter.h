#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "Lifecycle/GlimtoCaptureLifecycleEvent.h"
#include "Lifecycle/ScreenCapturePermissionJSON.h"
#include "Options/RecordOptions.h"
#include "Platform/CaptureErrors.h"
#include "Support/Errors.h"
#include "Support/LineOutput.h"

namespace glimto {

// Tells the program that started us how far we are, line by line on standard output. Safe to use
// from any thread, as far as the output is.
class GlimtoCaptureEventEmitter {
public:
    using Clock = std::function<std::chrono::system_clock::time_point()>;

    // `standardOutput` outlives the emitter. `now` gives the time stamps.
    explicit GlimtoCaptureEventEmitter(
        LineOutput& standardOutput, Clock now = [] { return std::chrono::system_clock::now(); });

    // Sets the event's time stamp to now and writes it as one line of JSON with sorted keys. An event
    // that cannot be encoded (text that is not UTF-8) is dropped.
    void emit(GlimtoCaptureLifecycleEvent event) const;

    // Writes "GLIMTO_RECORDING_STATUS=" and `state`.
    void emitStatus(std::string_view state) const;

    // The end of a recording that failed: the event `kind` with the error, and the status "failed".
    void emitFailure(const std::string& kind, const std::optional<std::string>& recordingId,
        const std::string& code, const ErrorFacts& error) const;

    // The trimmed recording id of the upload options; absent when there is none or nothing remains.
    static std::optional<std::string> recordingId(const RecordOptions& options);

    // The web page of a recording; absent when the id is absent or empty after trimming. The id is
    // percent-encoded as one path segment (RFC 3986 section 3.3).
    //
    // Example: "http://host:3000" and " abc " give "http://host:3000/recordings/abc".
    static std::optional<std::string> recordingPageURL(
        std::string_view apiBaseURL, const std::optional<std::string>& recordingId);

    static std::optional<std::string> trimmedNonEmpty(const std::optional<std::string>& text);

    // "screen_permission_denied" when `permission` is present and not granted, or when the error is
    // the stream's "the user declined the capture"; else `fallback`.
    static std::string errorCode(const ErrorFacts& error,
        const std::optional<ScreenCapturePermissionJSON>& permission, std::string_view fallback);

private:
    LineOutput& standardOutput_;
    Clock now_;
};

} // namespace glimto
