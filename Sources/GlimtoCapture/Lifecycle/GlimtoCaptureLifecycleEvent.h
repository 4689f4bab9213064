#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "Lifecycle/ScreenCapturePermissionJSON.h"
#include "Support/Errors.h"
#include "Support/JSONObject.h"

namespace glimto {

// What a lifecycle event says of a failure.
struct GlimtoCaptureEventError {
    // `message` is the error's text as valid UTF-8, cut to its first 2000 characters.
    GlimtoCaptureEventError(std::string code, const ErrorFacts& error);

    std::string code; // snake_case, for the driving program
    std::string message;
    std::string type; // name of the error's type
    std::string domain;
    std::int64_t nsCode = 0; // the error's number within its domain
};
GLIMTO_JSON_OBJECT(GlimtoCaptureEventError, code, message, type, domain, nsCode)

// Something that happened in the life of a recording or screenshot. What is absent is left out of
// the JSON.
struct GlimtoCaptureLifecycleEvent {
    int schemaVersion = 1;
    std::string eventType = "recording_lifecycle";
    std::string kind; // what happened: "launched", "capture_starting", ...
    std::optional<std::string> recordingId = std::nullopt;
    std::string timestamp = {}; // set when the event is emitted
    std::optional<std::string> pageUrl = std::nullopt;
    std::optional<ScreenCapturePermissionJSON> permission = std::nullopt;
    std::optional<GlimtoCaptureEventError> error = std::nullopt;
    std::optional<std::string> stage = std::nullopt; // the step in which it happened
    std::optional<std::string> state = std::nullopt;
    std::optional<std::int64_t> checkedObjectCount = std::nullopt; // uploaded objects the server checked
    std::optional<std::int64_t> limitSeconds = std::nullopt; // the maximum duration in whole seconds
};

// `eventType` has the key "type"; all other keys equal the field names.
nlohmann::json toJSON(const GlimtoCaptureLifecycleEvent& event);

} // namespace glimto
