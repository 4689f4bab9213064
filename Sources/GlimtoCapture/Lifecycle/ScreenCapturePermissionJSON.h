#pragma once

#include <string>

#include <nlohmann/json.hpp>

namespace glimto {

// Whether the screen may be captured, as other programs read it.
struct ScreenCapturePermissionJSON {
    std::string screenRecording; // "granted", "denied" or "unknown"
    bool preflightGranted = false; // the answer of the system's check

    // "granted" or "denied", as the check says.
    static ScreenCapturePermissionJSON fromPreflight(bool granted)
    {
        return {granted ? "granted" : "denied", granted};
    }

    friend bool operator==(const ScreenCapturePermissionJSON&, const ScreenCapturePermissionJSON&) = default;
};

// Keys equal the field names.
nlohmann::json toJSON(const ScreenCapturePermissionJSON& permission);

} // namespace glimto
