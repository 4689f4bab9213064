#pragma once

#include <string>

#include "Support/JSONObject.h"

#include "Platform/ScreenAccess.h"

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

    // The same for the system's whole answer. Where only asking the user tells, it is "granted": a driving
    // program is to try, rather than to send the user to some settings.
    static ScreenCapturePermissionJSON fromPreflight(const ScreenCaptureAccess& access)
    {
        return fromPreflight(access.allowsOpening());
    }

    friend bool operator==(const ScreenCapturePermissionJSON&, const ScreenCapturePermissionJSON&) = default;
};

GLIMTO_JSON_OBJECT(ScreenCapturePermissionJSON, screenRecording, preflightGranted)

} // namespace glimto
