#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <vector>

#include "Lifecycle/ScreenCapturePermissionJSON.h"
#include "Options/Command.h"
#include "Platform/ShareableContent.h"
#include "Support/JSONObject.h"

namespace glimto {

// What other programs read of displays and windows. In JSON the keys equal the field names, absent fields
// are left out, and all strings are valid UTF-8. Coordinates are global display points.

inline constexpr const char* screenCaptureCoordinateSpace = "screenCaptureKitGlobalDisplayPoints";

// How the content was fetched.
using ScreenCaptureEnumerationJSON = ContentQuery;

struct ScreenCaptureFrameJSON {
    double x = 0; // points; 0 when the system told no finite number
    double y = 0;
    double width = 0;
    double height = 0;

    explicit ScreenCaptureFrameJSON(const Rect& frame);
};

struct ScreenCaptureDisplayJSON {
    std::uint32_t id = 0;
    ScreenCaptureFrameJSON frame;
    int width = 0; // points
    int height = 0;
    std::optional<double> scale; // pixels a point; absent when unknown

    explicit ScreenCaptureDisplayJSON(const Display& display);
};

struct ScreenCaptureOwningApplicationJSON {
    std::string name;
    std::string bundleID;
    std::int32_t pid = 0;

    explicit ScreenCaptureOwningApplicationJSON(const Application& application);
};

struct ScreenCaptureWindowJSON {
    std::uint32_t windowID = 0;
    ScreenCaptureFrameJSON frame;
    std::optional<std::string> title; // trimmed, never empty
    std::optional<ScreenCaptureOwningApplicationJSON> owningApplication;

    explicit ScreenCaptureWindowJSON(const Window& window);
};

struct ScreenCaptureErrorJSON {
    std::string code; // of this program, such as "sckEnumerationFailed"
    std::string message;
    std::string type; // name of the error's dynamic type
    std::string domain;
    std::int64_t nsCode = 0; // the error's number within its domain

    ScreenCaptureErrorJSON(std::string errorCode, const std::exception& error);
};

// The displays and windows of one snapshot, or why there is none. An error beside displays or windows is why
// windows are missing or have no place.
struct ScreenCaptureWindowListPayload {
    using Time = std::chrono::system_clock::time_point;

    int schemaVersion = 1;
    std::string coordinateSpace = screenCaptureCoordinateSpace;
    std::string generatedAt; // ISO 8601, UTC, milliseconds
    ScreenCapturePermissionJSON permission;
    std::optional<ScreenCaptureEnumerationJSON> enumeration;
    std::vector<ScreenCaptureDisplayJSON> displays;
    std::vector<ScreenCaptureWindowJSON> windows;
    std::optional<ScreenCaptureErrorJSON> error;

    // Every display and window of `content`, which was fetched for `scope`. Since that worked, a
    // preflight that says no counts as "unknown".
    static ScreenCaptureWindowListPayload success(const ShareableContent& content,
        ScreenCaptureWindowListScope scope, bool includeEnumeration, bool preflightGranted,
        Time now = std::chrono::system_clock::now());

    // No display and no window, because fetching them for `scope` threw `error`.
    static ScreenCaptureWindowListPayload failure(const std::exception& error,
        ScreenCaptureWindowListScope scope, bool includeEnumeration, bool preflightGranted,
        Time now = std::chrono::system_clock::now());
};

// How the content of a scope is fetched.
ContentQuery contentQuery(ScreenCaptureWindowListScope scope);

struct ScreenCaptureSelectedWindowJSON {
    std::uint32_t windowID = 0;
};

// Which windows there are when the one asked for is not among them.
struct ScreenCaptureWindowResolutionFailurePayload {
    using Time = std::chrono::system_clock::time_point;
    static constexpr std::size_t mostCandidateWindows = 50;

    int schemaVersion = 1;
    std::string code = "sckWindowIDNotFound";
    std::string coordinateSpace = screenCaptureCoordinateSpace;
    std::string generatedAt; // ISO 8601, UTC, milliseconds
    ScreenCaptureSelectedWindowJSON selectedWindow; // the one asked for
    ScreenCaptureEnumerationJSON enumeration;
    std::size_t candidateCount = 0; // windows of the content
    bool truncated = false; // `candidateWindows` holds fewer
    std::vector<ScreenCaptureWindowJSON> candidateWindows; // the first of the content

    // `content` was fetched with all desktop and off-screen windows.
    ScreenCaptureWindowResolutionFailurePayload(
        std::uint32_t windowID, const ShareableContent& content, Time now = std::chrono::system_clock::now());
};

GLIMTO_JSON_OBJECT(ScreenCaptureEnumerationJSON, excludingDesktopWindows, onScreenWindowsOnly)
GLIMTO_JSON_OBJECT(ScreenCaptureFrameJSON, x, y, width, height)
GLIMTO_JSON_OBJECT(ScreenCaptureDisplayJSON, id, frame, width, height, scale)
GLIMTO_JSON_OBJECT(ScreenCaptureOwningApplicationJSON, name, bundleID, pid)
GLIMTO_JSON_OBJECT(ScreenCaptureWindowJSON, windowID, frame, title, owningApplication)
GLIMTO_JSON_OBJECT(ScreenCaptureErrorJSON, code, message, type, domain, nsCode)
GLIMTO_JSON_OBJECT(ScreenCaptureWindowListPayload, schemaVersion, coordinateSpace, generatedAt, permission,
    enumeration, displays, windows, error)
GLIMTO_JSON_OBJECT(ScreenCaptureSelectedWindowJSON, windowID)
GLIMTO_JSON_OBJECT(ScreenCaptureWindowResolutionFailurePayload, schemaVersion, code, coordinateSpace,
    generatedAt, selectedWindow, enumeration, candidateCount, truncated, candidateWindows)

// What the user reads when a window is not in the content: a sentence, and on a second line which windows
// there are, as JSON.
std::string screenCaptureWindowResolutionFailureMessage(
    std::uint32_t windowID, const ShareableContent& content);

// The same with the payload of the caller. One that cannot be encoded gives way to the bare window ID.
std::string windowResolutionFailureMessage(std::uint32_t windowID, const nlohmann::json& payload);

} // namespace glimto
